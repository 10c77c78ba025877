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

// A file in memory on a disk of a given size, which nothing is written beyond, and of whose writes
// the one with a given number fails.
struct MemoryFile : FileContent {
    explicit MemoryFile(int64_t size = 1 << 20, int faulty = -1) : room(size), faultyWrite(faulty)
    {
    }

    int64_t Size() const override { return std::ssize(bytes); }
    size_t ReadAt(int64_t, std::span<uint8_t>) const override { return 0; } // nobody reads
    std::error_code WriteAt(int64_t position, std::span<const uint8_t> data) override
    {
        if (writes++ == faultyWrite)
            return make_error_code(std::errc::io_error);
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
    int faultyWrite, writes = 0;
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

TEST(Writer, PutsWhatPassesThroughAroundFormatAndSoundOrSaysThatTheDiskIsFull)
{
    const Bytes name = Noise(5), tag = Noise(9);
    using Row = std::pair<Passed, std::string>;
    const Row rows[] = {
        Row({}, "COMM 18 SSND # "), Row({{"NAME", name}}, "NAME 5 COMM 18 SSND # "),
        Row({{"SSND", {}}, {"ID3 ", tag}}, "COMM 18 SSND # ID3  9 "),
        Row({{"NAME", name}, {"SSND", {}}, {"ID3 ", tag}}, "NAME 5 COMM 18 SSND # ID3  9 "),
        // Their data is not taken over, whatever it is.
        Row({{"SSND", Bytes(9)}, {"ANNO", {}}, {"COMM", Bytes(24)}}, "SSND # ANNO 0 COMM 18 "),
        // In lower case it counts, but is not the one that readers look for.
        Row({{"comm", {1}}, {"SSND", {}}}, "comm 18 COMM 18 SSND # "),
        Row({{"Comm", {1}}, {"SSND", {}}}, "Comm 1 COMM 18 SSND # ")};
    STQvWaveFormat format = {};
    format.nChannels = format.nBlockAlign = 3;
    format.nBitsPerSample = 8;
    format.nSamplesPerSec = 44100;
    for (const auto& [chunks, listed] : rows) {
        SCOPED_TRACE(listed);
        const clPassAIFFChunks pass = PassList(chunks);
        for (const size_t size : {0u, 15u, 42u}) {
            const Bytes samples = Noise(size);
            const auto file = std::make_shared<MemoryFile>();
            ASSERT_TRUE(WriteWhole(file, format, pass, samples));
            const WalkedForm form = WalkStrictly(file->bytes); // pads, positions, sizes
            std::string text;
            for (const auto& [code, data, position] : form.chunks) {
                text += code + " " + (code == "SSND" ? "#" : std::to_string(data.size())) + " ";
                if (code == "NAME" || code == "ID3 ")
                    EXPECT_EQ(data, code == "NAME" ? name : tag);
            }
            EXPECT_EQ(text, listed);
            EXPECT_EQ(form.Only("SSND").data, Join({Bytes(8), samples}));
            EXPECT_EQ(form.Only("COMM").data,
                      Join({Big(3, 2), Big(size / 3, 4), Big(8, 2), Extended(44100)}));
            for (int64_t room = 0; room < file->Size(); ++room)
                EXPECT_FALSE(WriteWhole(std::make_shared<MemoryFile>(room), format, pass, samples));
            for (int faulty = 0; faulty < file->writes; ++faulty)
                EXPECT_FALSE(WriteWhole(std::make_shared<MemoryFile>(1 << 20, faulty), format, pass,
                                        samples));
        }
    }
}

TEST(Writer, ASoundChunkInLowerCaseIsNotTheOneToWrite)
{
    clAIFFHandler aiff;
    ASSERT_TRUE(
        aiff.InitializeNewAIFF(std::make_shared<MemoryFile>(), {}, {}, PassList({{"ssnd", {1}}})));
    ASSERT_EQ(aiff.Count(), 3);
    EXPECT_EQ(aiff.GetChunk(1)->nSize, 0);
    EXPECT_EQ(aiff.FindChunkForWrite("SSND", false), aiff.GetChunk(2));
}

TEST(PassList, InsertsBeforeTheLastSoundAndFindsByCode)
{
    clPassAIFFChunks list = PassList({{"COMM", {}}});
    list.AddInternal(FourCC("NAME"), nullptr, 0, true); // there is no sound yet
    EXPECT_EQ(list.FindChunk("NAME", false), 1);
    list = PassList({{"SSND", {}}, {"ssnd", {}}, {"ANNO", {1, 2}}, {"anno", {}}});
    list.AddInternal(FourCC("NAME"), "abc", 3, true);
    EXPECT_TRUE(list.Count() == 5 && list[1].data.Used() == 3);
    using Row = std::tuple<const char*, bool, int>;
    for (const auto& [code, anyCase, position] :
         {Row("SSND", false, 0), Row("NAME", false, 1), Row("ssnd", false, 2),
          Row("ANNO", false, 3), Row("anno", false, 4), Row("name", false, -1),
          // The first that fits.
          Row("anno", true, 3), Row("ssnd", true, 0)})
        EXPECT_EQ(list.FindChunk(code, anyCase), position) << code;
}

} // namespace
