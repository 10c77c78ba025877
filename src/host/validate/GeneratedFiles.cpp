// SPDX-License-Identifier: MIT
#include "host/validate/GeneratedFiles.h"

#include <algorithm>
#include <bit>
#include <string_view>

namespace aiff::host::validate
{
namespace
{

using Bytes = std::vector<uint8_t>;

// Every number of channels from 1 to 8 and every width in both byte orders; sound that fills
// blocks exactly, of odd length, of a single frame and of none; tags on either side of it. Checks
// that take long use the first few.
constexpr GeneratedFile kFiles[] = {
    {"16-bit-stereo.aiff", SampleOrder::Aiff, 2, 16, 44100, 40001},
    {"tag-last.aiff", SampleOrder::Aiff, 2, 16, 44100, 20000, TagPlace::AfterSound},
    {"little-endian-16-bit-stereo.aifc", SampleOrder::AifcLittleEndian, 2, 16, 44100, 40000},
    {"24-bit-stereo.aiff", SampleOrder::Aiff, 2, 24, 48000, 25000},
    {"8-bit-mono-odd.aif", SampleOrder::Aiff, 1, 8, 11025, 70001},
    {"no-sound.aiff", SampleOrder::Aiff, 2, 16, 44100, 0},
    {"32-bit-3-channels.aif", SampleOrder::Aiff, 3, 32, 96000, 12000},
    {"8-bit-4-channels.aiff", SampleOrder::Aiff, 4, 8, 8000, 20000},
    {"24-bit-5-channels.aif", SampleOrder::Aiff, 5, 24, 44100, 10000},
    {"16-bit-6-channels.aiff", SampleOrder::Aiff, 6, 16, 48000, 12000},
    {"32-bit-8-channels.aiff", SampleOrder::Aiff, 8, 32, 192000, 5000},
    {"big-endian-16-bit-stereo.aifc", SampleOrder::AifcBigEndian, 2, 16, 44100, 20000},
    {"big-endian-24-bit-mono.aifc", SampleOrder::AifcBigEndian, 1, 24, 22050, 30001},
    {"little-endian-8-bit-3-channels.aifc", SampleOrder::AifcLittleEndian, 3, 8, 8000, 25001},
    {"little-endian-24-bit-7-channels.aifc", SampleOrder::AifcLittleEndian, 7, 24, 48000, 7000},
    {"little-endian-32-bit-mono.aifc", SampleOrder::AifcLittleEndian, 1, 32, 44100, 20000},
    {"two-full-blocks.aiff", SampleOrder::Aiff, 2, 16, 44100, 32768},
    {"one-frame.aiff", SampleOrder::Aiff, 2, 16, 44100, 1},
    {"tag-first.aiff", SampleOrder::Aiff, 1, 24, 44100, 20000, TagPlace::BeforeSound},
};

void AppendText(Bytes& out, std::string_view text)
{
    for (const char c : text)
        out.push_back(static_cast<uint8_t>(c));
}

// The low `count` bytes of a value, big-endian.
void AppendNumber(Bytes& out, uint64_t value, int count)
{
    for (int shift = 8 * (count - 1); shift >= 0; shift -= 8)
        out.push_back(static_cast<uint8_t>(value >> shift));
}

void AppendChunk(Bytes& out, std::string_view code, const Bytes& body)
{
    AppendText(out, code);
    AppendNumber(out, body.size(), 4);
    out.insert(out.end(), body.begin(), body.end());
    if (body.size() % 2 != 0)
        out.push_back(0);
}

// A whole number as an 80-bit extended one.
void AppendExtended(Bytes& out, uint32_t value)
{
    constexpr unsigned kExponentOfTwo = 16383 + 1;
    const auto width = static_cast<unsigned>(std::bit_width(value));
    AppendNumber(out, kExponentOfTwo - 2 + width, 2);
    AppendNumber(out, uint64_t{value} << (64 - width), 8);
}

Bytes FormatChunk(const GeneratedFile& file)
{
    Bytes body;
    AppendNumber(body, file.channels, 2);
    AppendNumber(body, file.frames, 4);
    AppendNumber(body, file.bits, 2);
    AppendExtended(body, file.rate);
    if (file.order != SampleOrder::Aiff) {
        AppendText(body, file.order == SampleOrder::AifcLittleEndian ? "sowt" : "NONE");
        AppendText(body, {"\0\0", 2}); // an empty name
    }
    return body;
}

// An ID3v2.3 tag with a title and an artist.
Bytes Tag()
{
    Bytes frames;
    for (const auto& [code, text] : {std::pair{"TIT2", "A title"}, std::pair{"TPE1", "A name"}}) {
        const std::string_view value = text;
        AppendText(frames, code);
        AppendNumber(frames, value.size() + 1, 4);
        AppendText(frames, {"\0\0\0", 3}); // no flags; Latin-1
        AppendText(frames, value);
    }
    Bytes tag;
    AppendText(tag, {"ID3\3\0\0\0\0\0", 9});
    tag.push_back(static_cast<uint8_t>(frames.size())); // fits seven bits
    tag.insert(tag.end(), frames.begin(), frames.end());
    return tag;
}

Bytes StoredSamples(const GeneratedFile& file)
{
    return Noise(size_t{file.frames} * file.channels * (file.bits / 8u));
}

} // namespace

std::vector<uint8_t> Noise(size_t size)
{
    Bytes bytes(size);
    uint32_t state = 1;
    for (uint8_t& byte : bytes)
        byte = static_cast<uint8_t>((state = state * 1664525 + 1013904223) >> 24);
    return bytes;
}

std::span<const GeneratedFile> GeneratedFiles()
{
    return kFiles;
}

std::vector<uint8_t> ContentOf(const GeneratedFile& file)
{
    Bytes form;
    AppendText(form, file.order == SampleOrder::Aiff ? "AIFF" : "AIFC");
    if (file.order != SampleOrder::Aiff)
        AppendChunk(form, "FVER", {0xA2, 0x80, 0x51, 0x40});
    if (file.tag == TagPlace::BeforeSound)
        AppendChunk(form, "ID3 ", Tag());
    AppendChunk(form, "COMM", FormatChunk(file));
    Bytes sound(8); // offset and block size
    const Bytes samples = StoredSamples(file);
    sound.insert(sound.end(), samples.begin(), samples.end());
    AppendChunk(form, "SSND", sound);
    if (file.tag == TagPlace::AfterSound)
        AppendChunk(form, "ID3 ", Tag());
    Bytes content;
    AppendChunk(content, "FORM", form);
    return content;
}

std::vector<uint8_t> DecodedSamples(const GeneratedFile& file)
{
    Bytes samples = StoredSamples(file);
    if (file.order == SampleOrder::AifcLittleEndian)
        return samples;
    const ptrdiff_t width = file.bits / 8;
    for (auto sample = samples.begin(); sample != samples.end(); sample += width)
        std::reverse(sample, sample + width);
    for (uint8_t& sample : samples)
        sample ^= width == 1 ? 0x80 : 0;
    return samples;
}

} // namespace aiff::host::validate
