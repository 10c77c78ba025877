// SPDX-License-Identifier: MIT

// Decoding an AIFF or AIFF-C stream into little-endian PCM blocks. Parsing the header, and
// tags and properties, have sources of their own.
#pragma once

#include "decode/SoundDecoder.h"
#include "support/net/XFileHTTPStream.h"

namespace aiff
{

class FormWalk;
struct ChunkHeader;

// What the blocks of a stream hold; QV_KEY_EXACT_STREAMS describes it.
enum class StreamMode { Plain, Exact };

// The header is read once, when it is first needed. It ends at the sound chunk, before
// which only COMM and empty chunks are accepted. In plain mode the samples begin directly
// after the sound chunk's header, so the 8 bytes of its offset and block size come out as the
// first samples. Positions are those of the stream.
class clsStreamingwavedecoder : public SoundDecoder
{
public:
    clsStreamingwavedecoder() : SoundDecoder(1) {} // a block need not wait for those after it

    // Starts over with a stream that is positioned at its start; nothing is read yet. The
    // stream must outlive the decoder's use of it. The decode range is in sample frames,
    // its end exclusive, -1 for the end of the audio. Always true.
    [[nodiscard]] bool Initialize(XFileHTTPStream& stream, const STNStdReport& report,
                                  int64_t rangeStart, int64_t rangeEnd,
                                  StreamMode mode = StreamMode::Plain);

    // Only traces the call: the stream belongs to the caller.
    void Close(const STQvEncoderFluid& fluid);

    // A frame before the audio lands at the first one. False, without a report, when the
    // stream is not seekable.
    [[nodiscard]] bool SetPosition(int64_t frame) override;

    // Tags of a stream are not read: returns an empty list as a tag blob, or null when
    // memory is short.
    const XMem* ReadIDTags(XStr& properties) override;

private:
    enum class Header { Unread, Parsed, Failed };

    bool PullOutCOMMnSSND() override;
    bool ReadHeader();
    bool WalkChunks(FormWalk& walk);
    bool ReadCOMM(const ChunkHeader& chunk);
    bool ReachSound(const ChunkHeader& chunk);
    size_t ReadStream(std::span<uint8_t> bytes);
    std::span<const uint8_t> ReadHeaderBytes(std::span<uint8_t> bytes);
    void TraceLength(int64_t milliseconds, int64_t bytes) const override;
    bool SeekToStart() override;
    bool AdvanceToStart();
    bool Discard(int64_t bytes);
    bool Seek(int64_t position) override;
    size_t ReadSound(std::span<uint8_t> bytes, size_t block) override;
    XStr GetAudioQuality() const;
    XStr GetChannelString() const;
    NTag CollectProps(const XStr& properties) const override;

    XFileHTTPStream* m_stream = nullptr;
    StreamMode m_mode = StreamMode::Plain;
    uint32_t m_formType = 0;
    Header m_header = Header::Unread;
    int64_t m_count = 0; // bytes of the stream that the header took so far
};

} // namespace aiff
