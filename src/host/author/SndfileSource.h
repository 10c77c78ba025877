#pragma once

#include "host/author/SoundSource.h"

#include <sndfile.h>

namespace host
{

// Anything that libsndfile reads and that holds integer PCM.
class SndfileSource : public SoundSource
{
public:
    [[nodiscard]] bool Open(const std::string& path, std::string& problem);

    // The source's tags and pictures become an "ID3 " chunk behind the sound.
    [[nodiscard]] bool ListChunks(clPassAIFFChunks& chunks, std::string& problem) override;
    [[nodiscard]] bool Read(XMem& block) override;
    std::string Damage() const override;

private:
    bool ReadRaw(XMem& block);
    bool ReadIntegers(XMem& block);

    struct Close {
        void operator()(SNDFILE* file) const { sf_close(file); }
    };
    std::string m_path;
    std::unique_ptr<SNDFILE, Close> m_file;
    bool m_raw = false; // the file's own bytes, little-endian
    std::vector<int> m_integers;
};

} // namespace host
