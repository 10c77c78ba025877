// Decoding a local AIFF or AIFF-C file into little-endian PCM blocks.
#pragma once

#include "aiff/AIFFHandler.h"
#include "decode/SoundDecoder.h"

// The format and the place of the sound data are learned once and kept, also over a
// second Initialize. Reads go by position.
class clWaveDecoder : public SoundDecoder
{
public:
    // Looks at an open file and indexes its chunks. The range is in sample frames,
    // its end exclusive, -1 for the end of the audio.
    [[nodiscard]] bool Initialize(XFileHandle file, const STNStdReport& report, int64_t rangeStart,
                                  int64_t rangeEnd);

    // What was learned of the file stays.
    void Close(const STQvEncoderFluid& fluid) override;

    // Lets the file go without a word, for another one to be opened.
    void Release();

    // A negative frame lands before the start of the range.
    [[nodiscard]] bool SetPosition(int64_t frame) override;

    const XMem* ReadIDTags(XStr& properties) override;

    // Writes a tag blob into a file. An empty list leaves the file alone.
    [[nodiscard]] bool WriteIDTags(const wchar_t* path, const uint8_t* blob, int32_t size,
                                   const STNStdReport& report);

    // Deletes fields by name, or all tags, from a file.
    [[nodiscard]] bool DeleteTags(const wchar_t* path, const std::vector<XStr>& names,
                                  bool everything, const STNStdReport& report);

private:
    bool PullOutCOMMnSSND() override;
    bool ReadCOMM(const STRIFFChunk& chunk);
    bool StandAtStart() override;
    bool Seek(int64_t position) override;
    bool ReadSound(std::span<uint8_t> bytes) override;
    NTag CollectProps(const XStr& properties) const override;
    XStr EncoderSettings() const;
    XStr ChunkList() const;
    void TraceTags(const NTag& tags) const;

    XFile m_file;
    clAIFFHandler m_aiff;
};
