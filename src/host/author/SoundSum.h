// SPDX-License-Identifier: MIT

// Checksums of sound, the same in every format that holds the same samples.
#pragma once

#include "host/base/Problem.h"
#include "qvcodec.h"
#include "support/XMem.h"

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace aiff::host
{

// The MD5 of samples as FLAC has it in its STREAMINFO: signed, little-endian, in as many whole
// bytes as their bits need.
class SoundSum
{
public:
    // bits  significant bits of a sample, 1 to 32, or 64 to take its bytes as they are
    explicit SoundSum(int bits);
    ~SoundSum();

    // Whole samples in the form of AIFF files, their significant bits first; changes them.
    void AddAiff(XMem& samples);
    // The same in the form of WAV files. The bits must fill the bytes.
    void AddWav(std::span<const uint8_t> samples);

    // Whether samples had bits beyond the significant ones, which the sum leaves out.
    bool HasMoreBits() const { return m_hasMoreBits; }
    // 32 hexadecimal digits, and the end of the sum.
    Result<std::string> Hex();

private:
    struct Context;

    void Add(std::span<const uint8_t> samples);
    void MoveDown(std::span<uint8_t> samples);

    std::unique_ptr<Context> m_context; // of the library; null when it makes no MD5
    int m_bits;
    bool m_hasMoreBits = false;
    std::vector<uint8_t> m_signedBytes;
};

struct FileSum {
    std::string hex;        // empty when there is a problem
    Problem problem;        // why the file has no sum
    bool isDamaged = false; // it could be read, and is not whole
    STQvWaveFormat format{};
};

// What of a sample is summed up: its significant bits, as FLAC does it, or its bytes as they are.
enum class SampleWidth { Bits, Bytes };

// The sum of a file that the encoder reads; by bits, also of floating-point samples and of those
// that are coded in AIFF-C: the sum of what they are decoded to.
FileSum SumOfFile(const std::string& path, SampleWidth width);

} // namespace aiff::host
