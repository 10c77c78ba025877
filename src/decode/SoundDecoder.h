// What decoding a file and decoding a stream have in common: the calls of the host, and
// the arithmetic of blocks, ranges and times.
#pragma once

#include "decode/CommonChunk.h"
#include "decode/SoundRange.h"
#include "qvcodec.h"
#include "support/StdReport.h"
#include "support/XMem.h"
#include "tags/NTag.h"

#include <span>

// An input, from its opening to Close. What it says of the audio is learned when it is
// first wanted. A read or a seek that fails leaves the decoder where it was.
//
// Blocks that are handed out (tags, properties, audio) belong to the decoder and are
// valid until the next call of the same kind or its end.
class SoundDecoder
{
public:
    virtual ~SoundDecoder() = default;
    SoundDecoder(const SoundDecoder&) = delete;
    SoundDecoder& operator=(const SoundDecoder&) = delete;

    // Lets the input go.
    virtual void Close(const STQvEncoderFluid& fluid) = 0;

    // Fills format, bit rate and the length of the range; 0 milliseconds when the
    // input does not tell how long the audio is.
    [[nodiscard]] bool FillAudioInfo(STQvAudioInfo* info);

    // Stands at the start of the range. False for compressed audio, and when the input
    // has no such place.
    [[nodiscard]] bool PrepareToDecodeAudio(STQvAudioInfo* info);

    // Hands out the next block. At the end of the range only the last-block flag is
    // set. False when the input gives less than the whole block.
    [[nodiscard]] bool DecodeBlock(STQvAudioBlock* block);

    // Moves to a frame counted from the start of the range; one behind the range
    // lands at its end. False, with the position unchanged, when the input has no such
    // place.
    [[nodiscard]] virtual bool SetPosition(int64_t frame) = 0;

    // Reads the tags and appends a description of where they were found to
    // `properties`. The tag blob, or null when it cannot be had.
    virtual const XMem* ReadIDTags(XStr& properties) = 0;

    // Describes the audio as a list of named texts in the form of a tag blob;
    // `properties` is what ReadIDTags said. Null when the format cannot be learned.
    const XMem* FillAudioProps(const XStr& properties);

protected:
    SoundDecoder() = default;
    SoundDecoder(SoundDecoder&&) = default;
    SoundDecoder& operator=(SoundDecoder&&) = default;

    // Names of operations in the report.
    static constexpr const char* kPullOut = "PullOutCOMMnSSND";
    static constexpr const char* kPrepare = "PrepareToDecodeAudio";

    // Learns the format and the place of the sound data, once.
    virtual bool PullOutCOMMnSSND() = 0;
    virtual void TraceLength(int64_t /*milliseconds*/, int64_t /*bytes*/) const {}
    virtual NTag CollectProps(const XStr& properties) const = 0;
    // Brings the input to the first byte to decode; errors are reported.
    virtual bool StandAtStart() = 0;
    virtual bool Seek(int64_t position) = 0;
    // Reads from the position on; false when there is less.
    virtual bool ReadSound(std::span<uint8_t> bytes) = 0;

    bool MoveTo(int64_t position);

    STNStdReport m_report = {};
    XMem m_commBytes; // the COMM body; once it is held, the format is known
    STCommonChunk m_common;
    STSoundRange m_range;
    bool m_lengthUnknown = false; // no times can be told
    int64_t m_position = 0;       // of the next byte to decode
    int64_t m_remaining = 0;      // bytes left in the range
    XMem m_decodeBuffer;
    XMem m_propertiesBuffer;
    XMem m_tagBuffer;

private:
    bool CheckFormat() const;
    bool ReadDataBlock();
};
