// SPDX-License-Identifier: MIT

// Makes AIFF and AIFF-C files of a musical tone: one file of chosen format and size, or
// a folder with one small file per sample format.

#include "support/AiffBuilder.h"

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <map>
#include <numbers>
#include <stdexcept>

namespace
{

struct Tone {
    bool isAifc = false;
    bool littleEndian = false;
    int bits = 16;
    int channels = 2;
    int rate = 44100; // sample frames per second
    double seconds = 1;
    double hertz = 440;

    size_t FrameBytes() const { return static_cast<size_t>(channels * bits / 8); }
};

constexpr double kFade = 0.05; // seconds, at both ends

// One second of frames from `first` on, in file order. With whole hertz every second
// away from the ends sounds the same.
Bytes MakeSecond(const Tone& tone, uint64_t first, uint64_t count, uint64_t total)
{
    const double scale = std::ldexp(0.8, tone.bits - 1) - 1;
    const size_t width = static_cast<size_t>(tone.bits) / 8;
    Bytes out;
    out.reserve(count * tone.FrameBytes());
    for (uint64_t frame = first; frame < first + count; ++frame) {
        const double time = static_cast<double>(frame) / tone.rate;
        const double toEnd = static_cast<double>(total - frame) / tone.rate;
        const double gain = std::min({1.0, time / kFade, toEnd / kFade});
        for (int channel = 0; channel < tone.channels; ++channel) {
            // Each channel has a fundamental of its own, so that a mix-up is heard.
            const double turn = 2 * std::numbers::pi * tone.hertz * (1 + channel * 0.25) * time;
            const double value = gain * scale * (std::sin(turn) * 0.7 + std::sin(2 * turn) * 0.3);
            Bytes sample = Big(static_cast<uint64_t>(std::llround(value)), static_cast<int>(width));
            if (tone.littleEndian)
                std::reverse(sample.begin(), sample.end());
            Append(out, sample);
        }
    }
    return out;
}

void Write(std::FILE* file, const Bytes& bytes)
{
    if (std::fwrite(bytes.data(), 1, bytes.size(), file) != bytes.size())
        throw std::runtime_error("cannot write");
}

void WriteSound(std::FILE* file, const Tone& tone, uint64_t frames)
{
    const auto perSecond = static_cast<uint64_t>(tone.rate);
    Bytes middle; // made once
    for (uint64_t first = 0; first < frames; first += perSecond) {
        const bool isMiddle = first > 0 && first + 2 * perSecond < frames;
        if (isMiddle && middle.empty())
            middle = MakeSecond(tone, first, perSecond, frames);
        Write(file, isMiddle
                        ? middle
                        : MakeSecond(tone, first, std::min(perSecond, frames - first), frames));
    }
    if (frames * tone.FrameBytes() % 2 != 0)
        Write(file, {0});
}

void MakeFile(const std::string& path, const Tone& tone)
{
    const uint64_t frames = static_cast<uint64_t>(tone.seconds * tone.rate);
    const uint64_t size = frames * tone.FrameBytes();
    if (size > 0xFFFFFF00)
        throw std::runtime_error("the sound does not fit into 4 GiB");
    AiffBuilder builder;
    const std::string name = tone.littleEndian ? "" : "not compressed";
    const char* type = tone.littleEndian ? "sowt" : tone.isAifc ? "NONE" : "";
    if (tone.isAifc)
        builder.Chunk("FVER", Big(0xA2805140, 4));
    builder.Comm(tone.channels, tone.bits, tone.rate, type, name);
    builder.Ssnd({}, static_cast<uint32_t>(size + 8));
    const size_t header = builder.Build().size();
    builder.FormSize(static_cast<uint32_t>(header - 8 + size + size % 2));
    std::FILE* file = std::fopen(path.c_str(), "wb");
    if (file == nullptr)
        throw std::runtime_error("cannot create " + path);
    Write(file, builder.Build());
    WriteSound(file, tone, frames);
    if (std::fclose(file) != 0)
        throw std::runtime_error("cannot write " + path);
}

void MakeDemo(const std::string& folder)
{
    const std::map<int, std::string> layouts = {{1, "mono"}, {2, "stereo"}, {6, "6ch"}};
    for (const int bits : {8, 16, 24, 32})
        for (const auto& [channels, layout] : layouts)
            MakeFile(folder + "/tone-" + std::to_string(bits) + "bit-" + layout + ".aiff",
                     {.bits = bits, .channels = channels});
    for (const int bits : {16, 24, 32})
        MakeFile(folder + "/tone-" + std::to_string(bits) + "bit-little-endian.aifc",
                 {.isAifc = true, .littleEndian = true, .bits = bits});
    MakeFile(folder + "/tone-16bit-big-endian.aifc", {.isAifc = true});
}

constexpr const char* kUsage =
    "usage: make_aiff OUT [--type aiff|aifc] [--bits 8|16|24|32] [--channels N] [--rate HZ]\n"
    "                     [--seconds S | --size-mb N] [--tone HZ] [--little-endian]\n"
    "       make_aiff --demo DIR\n";

Tone ReadOptions(int count, char** words)
{
    std::map<std::string, double> numbers = {{"--bits", 16},   {"--channels", 2}, {"--rate", 44100},
                                             {"--seconds", 1}, {"--size-mb", 0},  {"--tone", 440}};
    Tone tone;
    for (int i = 2; i < count; ++i) {
        const std::string option = words[i], value = i + 1 < count ? words[i + 1] : "";
        if (option == "--little-endian") {
            tone.littleEndian = tone.isAifc = true;
            continue;
        }
        if (option == "--type" && (value == "aiff" || value == "aifc"))
            tone.isAifc = value == "aifc" || tone.littleEndian;
        else if (numbers.count(option) != 0)
            numbers[option] = std::stod(value);
        else
            throw std::invalid_argument("unknown: " + option + " " + value);
        ++i;
    }
    tone.bits = static_cast<int>(numbers["--bits"]);
    tone.channels = static_cast<int>(numbers["--channels"]);
    tone.rate = static_cast<int>(numbers["--rate"]);
    tone.hertz = numbers["--tone"];
    if (tone.bits < 8 || tone.bits > 32 || tone.bits % 8 != 0 || tone.channels < 1 ||
        tone.channels > 1000 || tone.rate < 1)
        throw std::invalid_argument("no such format");
    tone.seconds = numbers["--seconds"];
    if (numbers["--size-mb"] > 0)
        tone.seconds =
            numbers["--size-mb"] * 1e6 / static_cast<double>(tone.FrameBytes()) / tone.rate;
    if (!(tone.seconds >= 0 && tone.seconds < 1e9))
        throw std::invalid_argument("no such length");
    return tone;
}

} // namespace

int main(int count, char** words)
{
    const std::string first = count > 1 ? words[1] : "";
    if (first.empty() || first == "--help" || (first == "--demo" && count != 3)) {
        std::cerr << kUsage;
        return first == "--help" ? 0 : 2;
    }
    try {
        if (first == "--demo")
            MakeDemo(words[2]);
        else
            MakeFile(first, ReadOptions(count, words));
        return 0;
    } catch (const std::logic_error& error) {
        std::cerr << "make_aiff: " << error.what() << "\n" << kUsage;
        return 2;
    } catch (const std::exception& error) {
        std::cerr << "make_aiff: " << error.what() << "\n";
        return 1;
    }
}
