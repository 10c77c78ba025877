// Decoding an AIFF or AIFF-C stream, read forward once, into little-endian PCM blocks.
#pragma once

#include "decode/CommonChunk.h"
#include "decode/SoundRange.h"
#include "qvcodec.h"
#include "support/XFileHTTPStream.h"
#include "support/XMem.h"
#include "tags/NTag.h"

class FormWalk;
struct STChunkHeader;

// One stream, from Initialize to Close. The header is read once, when it is first
// wanted: all of it must stand before the sound data, in COMM and empty chunks alone.
// The samples begin right behind the header of the sound chunk, so the 8 bytes of its
// offset and block size come out as the first samples.
//
// Blocks that are handed out (tags, properties, audio) belong to the decoder and are
// valid until the next call of the same kind, the next Initialize or its end.
class clsStreamingwavedecoder
{
public:
    // Starts afresh with a stream that stands at its start; nothing is read yet. The
    // stream must outlive the use of the decoder. The range is in sample frames, its
    // end exclusive, -1 for the end of the audio.
    [[nodiscard]] bool Initialize(XFileHTTPStream& stream, const STNStdReport& report,
                                  int64_t rangeStart, int64_t rangeEnd);

    void Close(const STQvEncoderFluid& fluid);

    // Fills format, bit rate and the length of the range; 0 milliseconds when the
    // stream does not tell how long the audio is.
    [[nodiscard]] bool FillAudioInfo(STQvAudioInfo* info);

    // Stands at the start of the range. False for compressed audio, and when the
    // stream ends before.
    [[nodiscard]] bool PrepareToDecodeAudio(STQvAudioInfo* info);

    // Hands out the next block. At the end of the range only the last-block flag is
    // set. False when the stream gives less than the whole block.
    [[nodiscard]] bool DecodeBlock(STQvAudioBlock* block);

    // Moves to a frame counted from the start of the range; one behind the range
    // lands at its end, one before the audio at the first frame. False, with the
    // position unchanged, when the stream cannot be had from there.
    [[nodiscard]] bool SetPosition(int64_t frame);

    // A stream has no tags to give: an empty list as a tag blob. Null when memory is
    // short.
    const XMem* ReadIDTags(XStr& properties);

    // Describes the audio as a list of named texts in the form of a tag blob;
    // `properties` is what ReadIDTags said. Null when the format cannot be learned.
    const XMem* FillAudioProps(const XStr& properties);

private:
    enum class Header { Unread, Parsed, Failed };

    bool PullOutCOMMnSSND();
    bool ReadHeader();
    bool WalkChunks(FormWalk& walk, uint32_t formType);
    bool ReadCOMM(const STChunkHeader& chunk, uint32_t formType);
    bool ReachSound(const STChunkHeader& chunk);
    std::span<const uint8_t> Take(std::span<uint8_t> bytes);
    bool ReadDataBlock();
    bool StandAtPosition();
    bool Drop(int64_t bytes);
    XStr GetAudioQuality() const;
    XStr GetChannelString() const;
    NTag CollectProps(const XStr& properties) const;

    STNStdReport m_report = {};
    XFileHTTPStream* m_stream = nullptr;
    Header m_header = Header::Unread;
    int64_t m_count = 0; // bytes of the stream that the header took so far
    XMem m_commBytes;
    STCommonChunk m_common;
    STSoundRange m_range; // in positions of the stream
    bool m_lengthUnknown = false;
    int64_t m_position = 0;  // stream position of the next byte to decode
    int64_t m_remaining = 0; // bytes left in the range
    XMem m_decodeBuffer;
    XMem m_propertiesBuffer;
    XMem m_tagBuffer;
};
