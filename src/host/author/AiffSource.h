#pragma once

#include "aiff/AIFFHandler.h"
#include "host/author/SoundSource.h"

namespace host
{

// An AIFF or AIFF-C file: its samples are copied as they stand, or swapped when they are
// little-endian, and all its other chunks pass through.
class AiffSource : public SoundSource
{
public:
    // Whether the file can be opened and begins like one.
    bool IsAiff(const std::string& path);
    // After IsAiff.
    [[nodiscard]] bool Open(std::string& problem);

    [[nodiscard]] bool ListChunks(clPassAIFFChunks& chunks, std::string& problem) override;
    [[nodiscard]] bool Read(XMem& block) override;
    std::string Damage() const override;

private:
    bool ReadFormat(std::string& problem);
    bool FindSound(std::string& problem);
    void PassChunk(const STRIFFChunk& chunk, clPassAIFFChunks& chunks);
    bool IsCut(const STRIFFChunk& chunk) const;

    XFileHandle m_file;
    clAIFFHandler m_aiff;
    const STRIFFChunk* m_sound = nullptr;
    std::string m_lost; // why a chunk could not be passed on; empty when all were
    bool m_littleEndian = false;
    int64_t m_position = 0;
    int64_t m_end = 0;
};

} // namespace host
