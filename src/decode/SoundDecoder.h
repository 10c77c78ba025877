// SPDX-License-Identifier: MIT

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

namespace aiff
{

// Decodes one input. What the input says about the audio is read when it is first needed.
// A read or a seek that fails leaves the position unchanged. Failures are reported.
//
// Returned blocks (tags, properties, audio) belong to the decoder and are valid until the
// next call of the same kind or the decoder's destruction; those of a stream only until its
// next Initialize.
class SoundDecoder
{
public:
    virtual ~SoundDecoder() = default;
    SoundDecoder(const SoundDecoder&) = delete;
    SoundDecoder& operator=(const SoundDecoder&) = delete;

    // Fills in the format, the bit rate and the length of the decode range, which is 0
    // milliseconds when the input does not tell how long the audio is.
    [[nodiscard]] bool FillAudioInfo(STQvAudioInfo* info);

    // Moves to the start of the decode range and fills in the format. False for compressed
    // audio, and when the input cannot be positioned there.
    [[nodiscard]] bool PrepareToDecodeAudio(STQvAudioInfo* info);

    // Returns the next block. At the end of the range it only sets the last-block flag.
    // False when the input delivers less than the whole block.
    [[nodiscard]] bool DecodeBlock(STQvAudioBlock* block);

    // Moves to a sample frame counted from the start of the range; one past the range
    // lands at its end. False, with the position unchanged, when the input cannot be
    // positioned there.
    [[nodiscard]] virtual bool SetPosition(int64_t frame) = 0;

    // Reads the tags, and appends to `properties` what kind of tag was found. Returns the
    // tag blob, or null when the format cannot be read or memory is short.
    virtual const XMem* ReadIDTags(XStr& properties) = 0;

    // Describes the audio as a list of named texts in the form of a tag blob;
    // `properties` is what ReadIDTags appended. Null when the format cannot be read or
    // memory is short.
    const XMem* FillAudioProps(const XStr& properties);

protected:
    // Blocks that are asked for one after another are read so many at one go.
    explicit SoundDecoder(int blocksAtOnce) : m_blocksAtOnce(blocksAtOnce) {}
    SoundDecoder(SoundDecoder&&) = default;
    SoundDecoder& operator=(SoundDecoder&&) = default;

    // Names of operations in the report.
    static constexpr const char* kPullOut = "PullOutCOMMnSSND";
    static constexpr const char* kPrepare = "PrepareToDecodeAudio";

    // Reads the format and locates the sound data, once.
    virtual bool PullOutCOMMnSSND() = 0;
    virtual void TraceLength(int64_t /*milliseconds*/, int64_t /*bytes*/) const {}
    virtual NTag CollectProps(const XStr& properties) const = 0;
    // Positions the input at the first byte to decode.
    virtual bool SeekToStart() = 0;
    virtual bool Seek(int64_t position) = 0;
    // Reads from the position on, and returns how many bytes it got: 0 when they are fewer than
    // `block`. A decoder may return the whole sample frames among them instead, and set
    // m_remaining to them when they are the last.
    virtual size_t ReadSound(std::span<uint8_t> bytes, size_t block) = 0;

    bool MoveTo(int64_t position);

    // Forgets what was read beyond the last block: the next one comes from the input as it is
    // then, and by itself, as seeks may follow one another.
    void DropAhead();

    STNStdReport m_report = {};
    XMem m_commBytes; // the COMM body; not empty once the format is known
    CommonChunk m_common;
    SoundRange m_range;
    bool m_lengthUnknown = false; // then all times are 0
    int64_t m_position = 0;       // of the next byte to decode, in the input
    int64_t m_remaining = 0;      // bytes left in the range
    XMem m_decodeBuffer;          // the last block, and what was read beyond it
    XMem m_propertiesBuffer;
    XMem m_tagBuffer;

private:
    bool CheckFormat() const;
    bool ReadDataBlock();
    bool FillBuffer(int64_t wanted);
    std::span<uint8_t> Block() { return m_decodeBuffer.View().subspan(m_blockStart, m_blockSize); }
    size_t Ahead() const { return m_decodeBuffer.Used() - m_blockStart - m_blockSize; }

    size_t m_blockStart = 0; // of the last block, in the decode buffer
    size_t m_blockSize = 0;
    int m_blocksAtOnce;
    bool m_isSequence = false; // a block has been read since the last seek
};

} // namespace aiff
