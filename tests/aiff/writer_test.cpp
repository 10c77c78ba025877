// SPDX-License-Identifier: MIT

// New files: what is laid out, in which order it is written, and what a full disk does.

#include "aiff/AIFFHandler.h"
#include "aiff/PassChunks.h"
#include "support/AiffBuilder.h"
#include "support/ChunkWalker.h"

#include <gtest/gtest.h>

using namespace aiff;

namespace
{

// A file in memory on a disk of a given size, which nothing is written beyond.
struct MemoryFile : FileContent {
    explicit MemoryFile(int64_t size = 1 << 20) : room(size) {}

    int64_t Size() const override { return std::ssize(bytes); }
    size_t ReadAt(int64_t, std::span<uint8_t>) const override { return 0; } // nobody reads
    std::error_code WriteAt(int64_t position, std::span<const uint8_t> data) override
    {
        if (const auto error = SetSize(std::max(position + std::ssize(data), Size())))
            return error;
        std::copy(data.begin(), data.end(), bytes.begin() + position);
        return {};
    }
    std::error_code SetSize(int64_t size) override
    {
        if (size > room)
            return make_error_code(std::errc::no_space_on_device);
        bytes.resize(static_cast<size_t>(size));
        return {};
    }

    Bytes bytes;
    int64_t room;
};

using Passed = std::vector<std::pair<std::string, Bytes>>;

clPassAIFFChunks PassList(const Passed& chunks)
{
    clPassAIFFChunks list;
    for (const auto& [code, data] : chunks)
        list.AddInternal(FourCC(code.c_str()), data.data(), static_cast<uint32_t>(data.size()),
                         false);
    return list;
}

// The letters of a chunk's code; the first is the lowest byte.
std::string Code(uint32_t code)
{
    const Bytes letters = Big(code, 4);
    return std::string(letters.rbegin(), letters.rend()) + " ";
}

STQvWaveFormat Format(int channels, int bits)
{
    STQvWaveFormat format{};
    format.nChannels = static_cast<uint16_t>(channels);
    format.nBitsPerSample = static_cast<uint16_t>(bits);
    format.nSamplesPerSec = 44100;
    format.nBlockAlign = static_cast<uint16_t>(channels * bits / 8);
    return format;
}

// The whole calling order; false also when the place for the samples is not the one left.
bool WriteWhole(const std::shared_ptr<MemoryFile>& file, const STQvWaveFormat& format,
                const clPassAIFFChunks& pass, const Bytes& samples)
{
    clAIFFHandler aiff;
    if (!aiff.InitializeNewAIFF(file, format, {}, pass) || aiff.Position() != file->Size() + 8 ||
        aiff.WriteSTSoundData() != 8 || aiff.Position() != file->Size() || !aiff.Write(samples))
        return false;
    aiff.FindChunkForWrite("SSND", false)->nSize = 8 + std::ssize(samples);
    return aiff.WriteChunkHeaders(false) && aiff.WriteChunksAfterData() &&
           aiff.WriteCOMMChunkData(format, std::ssize(samples));
}

TEST(Writer, LaysOutWhatPassesThroughAroundFormatAndSound)
{
    using Row = std::pair<Passed, const char*>;
    const Row cases[] = {
        Row({}, "COMM 18 SSND 0 "), Row({{"NAME", Bytes(3)}}, "NAME 3 COMM 18 SSND 0 "),
        Row({{"SSND", {}}, {"ID3 ", {9}}}, "COMM 18 SSND 0 ID3  1 "),
        // Their data is not taken over, whatever it is.
        Row({{"SSND", Bytes(9)}, {"ANNO", {}}, {"COMM", Bytes(24)}}, "SSND 0 ANNO 0 COMM 18 "),
        // In lower case they count, but are not those that readers look for.
        Row({{"comm", {1}}, {"ssnd", {1}}}, "comm 18 COMM 18 ssnd 0 SSND 0 "),
        Row({{"Comm", {1}}, {"SSND", {}}}, "Comm 1 COMM 18 SSND 0 ")};
    for (const auto& [pass, listed] : cases) {
        clAIFFHandler aiff;
        ASSERT_TRUE(aiff.InitializeNewAIFF(std::make_shared<MemoryFile>(), Format(2, 16), {},
                                           PassList(pass)));
        std::string text;
        for (int i = 0; i < aiff.Count(); ++i)
            text += Code(aiff.GetChunk(i)->ID) + std::to_string(aiff.GetChunk(i)->nSize) + " ";
        EXPECT_EQ(text, listed);
    }
}

TEST(Writer, EveryStepSaysThatTheDiskIsFull)
{
    const clPassAIFFChunks pass = PassList({{"NAME", Noise(5)}, {"SSND", {}}, {"ID3 ", Noise(9)}});
    for (const size_t size : {0u, 15u, 40u}) {
        const Bytes samples = Noise(size);
        const auto file = std::make_shared<MemoryFile>();
        ASSERT_TRUE(WriteWhole(file, Format(1, 8), pass, samples));
        const WalkedForm form = WalkStrictly(file->bytes); // pads, positions, sizes
        EXPECT_EQ(form.Only("SSND").data, Join({Bytes(8), samples}));
        EXPECT_EQ(form.Only("COMM").data,
                  Join({Big(1, 2), Big(size, 4), Big(8, 2), Extended(44100)}));
        EXPECT_EQ(form.Only("NAME").data, Noise(5));
        EXPECT_EQ(form.Only("ID3 ").data, Noise(9));
        for (int64_t room = 0; room <= file->Size(); ++room)
            EXPECT_EQ(WriteWhole(std::make_shared<MemoryFile>(room), Format(1, 8), pass, samples),
                      room == file->Size());
    }
}

TEST(PassList, InsertsBeforeTheLastSoundAndFindsByCode)
{
    const auto codes = [](const clPassAIFFChunks& list) {
        std::string text;
        for (int i = 0; i < list.Count(); ++i)
            text += Code(list[i].code);
        return text;
    };
    clPassAIFFChunks list = PassList({{"COMM", {}}});
    list.AddInternal(FourCC("NAME"), nullptr, 0, true); // there is no sound yet
    EXPECT_EQ(codes(list), "COMM NAME ");
    list = PassList({{"SSND", {}}, {"ssnd", {}}, {"ANNO", {1, 2}}});
    list.AddInternal(FourCC("NAME"), "abc", 3, true);
    EXPECT_EQ(codes(list), "SSND NAME ssnd ANNO ");
    EXPECT_EQ(list[1].data.Used(), 3u);
    using Row = std::tuple<const char*, bool, int>;
    for (const auto& [code, anyCase, position] :
         {Row("ANNO", false, 3), Row("anno", false, -1),
          // The first that fits.
          Row("anno", true, 3), Row("ssnd", false, 2), Row("ssnd", true, 0)})
        EXPECT_EQ(list.FindChunk(code, anyCase), position) << code;
}

} // namespace
