// Decoding an AIFF or AIFF-C stream, read forward once, into little-endian PCM blocks.
#pragma once

#include "decode/SoundDecoder.h"
#include "support/net/XFileHTTPStream.h"

class FormWalk;
struct STChunkHeader;

// The header is read once, when it is first wanted: all of it must stand before the
// sound data, in COMM and empty chunks alone. The samples begin right behind the header
// of the sound chunk, so the 8 bytes of its offset and block size come out as the first
// samples. Positions are those of the stream.
class clsStreamingwavedecoder : public SoundDecoder
{
public:
    // Starts afresh with a stream that stands at its start; nothing is read yet. The
    // stream must outlive the use of the decoder. The range is in sample frames, its
    // end exclusive, -1 for the end of the audio.
    [[nodiscard]] bool Initialize(XFileHTTPStream& stream, const STNStdReport& report,
                                  int64_t rangeStart, int64_t rangeEnd);

    void Close(const STQvEncoderFluid& fluid) override;

    // A frame before the audio lands at its first. False also when the stream cannot be
    // had from there.
    [[nodiscard]] bool SetPosition(int64_t frame) override;

    // A stream has no tags to give: an empty list as a tag blob. Null when memory is
    // short.
    const XMem* ReadIDTags(XStr& properties) override;

private:
    enum class Header { Unread, Parsed, Failed };

    bool PullOutCOMMnSSND() override;
    bool ReadHeader();
    bool WalkChunks(FormWalk& walk, uint32_t formType);
    bool ReadCOMM(const STChunkHeader& chunk, uint32_t formType);
    bool ReachSound(const STChunkHeader& chunk);
    std::span<const uint8_t> Take(std::span<uint8_t> bytes);
    void TraceLength(int64_t milliseconds, int64_t bytes) const override;
    bool StandAtStart() override;
    bool GoForward();
    bool Drop(int64_t bytes);
    bool Seek(int64_t position) override;
    bool ReadSound(std::span<uint8_t> bytes) override;
    XStr GetAudioQuality() const;
    XStr GetChannelString() const;
    NTag CollectProps(const XStr& properties) const override;

    XFileHTTPStream* m_stream = nullptr;
    Header m_header = Header::Unread;
    int64_t m_count = 0; // bytes of the stream that the header took so far
};
