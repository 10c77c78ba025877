// SPDX-License-Identifier: MIT

// Decoding a local AIFF or AIFF-C file into little-endian PCM blocks. Tags and properties
// have sources of their own.
#pragma once

#include "aiff/AIFFHandler.h"
#include "decode/SoundDecoder.h"
#include "support/file/FlushFile.h"

namespace aiff
{

// The format and the location of the sound data are read once and kept, even across a
// second Initialize.
class clWaveDecoder : public SoundDecoder
{
public:
    clWaveDecoder() : SoundDecoder(kBlocksAtOnce) {}

    // Indexes the chunks of an open file. The decode range is in sample frames, its end
    // exclusive, -1 for the end of the audio. False, with the reason reported, when it is
    // no AIFF file.
    [[nodiscard]] bool Initialize(XFileHandle file, const STNStdReport& report, int64_t rangeStart,
                                  int64_t rangeEnd);

    // Closes the file. The format stays known.
    void Close(const STQvEncoderFluid& fluid);

    // Closes the file without a trace, so that another one can be opened.
    void Release();

    // A negative frame lands before the start of the range.
    [[nodiscard]] bool SetPosition(int64_t frame) override;

    const XMem* ReadIDTags(XStr& properties) override;

    // Writes a tag blob of `size` bytes into a file. An empty list leaves the file alone;
    // without a path or a blob it fails. Failures are reported to `report`.
    [[nodiscard]] bool WriteIDTags(const wchar_t* path, const uint8_t* blob, int32_t size,
                                   const STNStdReport& report, Durability durability);

    // Deletes from a file the fields with the given names or, without names, all tags.
    // Failures are reported to `report`.
    [[nodiscard]] bool DeleteTags(const wchar_t* path, const std::vector<XStr>& names,
                                  const STNStdReport& report, Durability durability);

private:
    // 256 KiB: more no longer fit the second-level cache of common processors beside the rest.
    static constexpr int kBlocksAtOnce = 4;

    bool PullOutCOMMnSSND() override;
    bool ReadCOMM(const STRIFFChunk& chunk);
    bool SeekToStart() override;
    bool Seek(int64_t position) override;
    size_t ReadSound(std::span<uint8_t> bytes, size_t block) override;
    NTag CollectProps(const XStr& properties) const override;
    XStr ChunkList() const;
    bool FillTagBuffer(XStr& properties);
    void TraceTags(const NTag& tags) const;

    XFile m_file;
    clAIFFHandler m_aiff;
};

} // namespace aiff
