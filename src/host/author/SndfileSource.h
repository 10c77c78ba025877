// SPDX-License-Identifier: MIT

// Other files as inputs of the encoder.
#pragma once

#include "host/author/SoundSource.h"
#include "support/file/DiskFile.h"

#include <memory>
#include <sndfile.h>
#include <string>

namespace aiff::host
{

// Any file with integer PCM that libsndfile can read.
class SndfileSource : public SoundSource
{
public:
    Problem Open(const std::string& path, Samples samples);
    // The same for any coding, only to look at Damage() and HasLastFrame().
    Problem OpenAny(const std::string& path);

    // The source's tags and pictures become an "ID3 " chunk after the sound.
    Problem ListChunks(clPassAIFFChunks& chunks) override;
    [[nodiscard]] bool Read(XMem& block) override;
    Problem Damage() const override;
    std::string OwnSum() const override;
    // Instead of reading all: whether the last of the frames can be read.
    bool HasLastFrame();

private:
    bool ReadRaw(XMem& block);
    bool ReadIntegers(XMem& block);

    struct Close {
        void operator()(SNDFILE* file) const { sf_close(file); }
    };
    std::string m_path;
    std::shared_ptr<DiskFile> m_content;
    std::unique_ptr<SNDFILE, Close> m_file; // reads m_content
    SF_INFO m_info{};
    bool m_coded = true; // not sample after sample
    bool m_raw = false;  // the file's own bytes, little-endian
    std::vector<int> m_integers;
};

} // namespace aiff::host
