// SPDX-License-Identifier: MIT

// Decoding AIFF files with libsndfile.
#pragma once

#include "host/author/AiffSource.h"
#include "host/session/DecoderSession.h"
#include "host/session/PcmReader.h"

#include <memory>
#include <sndfile.h>
#include <vector>

namespace aiff::host
{

// Shows libsndfile a file with the same samples but a header of its own: what the header of the
// source says beside them may mislead it, such as 16 bits for samples coded as 'in24'.
class LibraryReader : public PcmReader
{
public:
    // To be called once. The source is open, and has a coding that the library knows.
    Problem Open(std::shared_ptr<const AiffSource> source, FrameRange range);

    STQvWaveFormat Format() const override { return m_format; }
    int64_t Length() const override { return (m_end - m_first) * m_format.nBlockAlign; }
    Step Next(std::span<const uint8_t>& pcm) override;
    Problem Failure() const override { return "cannot be decoded to the end of its sound data"; }
    std::string Note() const override;

private:
    struct Close {
        void operator()(SNDFILE* file) const { sf_close(file); }
    };

    void MakeHeader();
    static SF_VIRTUAL_IO FileFunctions();
    sf_count_t ReadBytes(void* out, sf_count_t count);
    bool ChooseFormat();
    bool GoTo(int64_t frame);
    int64_t ReadFrames(int64_t frames);
    void TakeIntegers(size_t samples);

    std::shared_ptr<const AiffSource> m_source;
    std::vector<uint8_t> m_header; // of the file shown, before the samples
    int64_t m_position = 0;        // in that file
    SF_INFO m_info{};
    std::unique_ptr<SNDFILE, Close> m_file;
    STQvWaveFormat m_format{};
    int64_t m_first = 0; // frames
    int64_t m_end = 0;
    int64_t m_frame = 0;
    std::vector<uint8_t> m_pcm;
    std::vector<int> m_integers;
    uint32_t m_unusedBits = 0; // of samples that fill their bytes only in part
    uint32_t m_unused = 0;     // those that have been set
};

} // namespace aiff::host
