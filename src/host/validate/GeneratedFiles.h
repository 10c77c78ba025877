// SPDX-License-Identifier: MIT

// AIFF files with known samples, to try decoders on.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace aiff::host::validate
{

enum class SampleOrder { Aiff, AifcBigEndian, AifcLittleEndian };
enum class TagPlace { None, BeforeSound, AfterSound };

// What one file holds.
struct GeneratedFile {
    const char* name; // with an extension that fits
    SampleOrder order;
    uint16_t channels;
    uint16_t bits;
    uint32_t rate;   // sample frames per second
    uint32_t frames; // length
    TagPlace tag = TagPlace::None;
};

std::span<const GeneratedFile> GeneratedFiles();

// The whole file.
std::vector<uint8_t> ContentOf(const GeneratedFile& file);

// Its samples in the form in which a decoder returns them.
std::vector<uint8_t> DecodedSamples(const GeneratedFile& file);

// Bytes in which a wrong order or place shows: always the same.
std::vector<uint8_t> Noise(size_t size);

} // namespace aiff::host::validate
