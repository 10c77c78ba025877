// New files: what is laid out, in which order it is written, and what a full disk does.

#include "aiff/AIFFHandler.h"
#include "aiff/PassChunks.h"
#include "support/AiffBuilder.h"
#include "support/ChunkWalker.h"

#include <gtest/gtest.h>
#include <limits>

namespace
{

// A file in memory on a disk of a given size, which nothing is written beyond.
class MemoryFile : public FileContent
{
public:
    explicit MemoryFile(int64_t room = std::numeric_limits<int64_t>::max()) : m_room(room) {}

    int64_t Size() const override { return std::ssize(bytes); }
    size_t ReadAt(int64_t, std::span<uint8_t>) const override { return 0; } // nobody reads
    bool WriteAt(int64_t position, std::span<const uint8_t> data) override
    {
        const int64_t end = position + std::ssize(data);
        if (end > m_room)
            return false;
        bytes.resize(static_cast<size_t>(std::max(end, Size())));
        std::copy(data.begin(), data.end(), bytes.begin() + position);
        return true;
    }
    bool SetSize(int64_t size) override
    {
        if (size > m_room)
            return false;
        bytes.resize(static_cast<size_t>(size));
        return true;
    }

    Bytes bytes;

private:
    int64_t m_room;
};

struct Passed {
    std::string code;
    Bytes data;
};

clPassAIFFChunks PassList(const std::vector<Passed>& chunks)
{
    clPassAIFFChunks list;
    for (const Passed& chunk : chunks)
        list.AddInternal(FourCC(chunk.code.c_str()), chunk.data.data(),
                         static_cast<uint32_t>(chunk.data.size()), false);
    return list;
}

STQvWaveFormat Format(int channels, int bits, uint32_t rate = 44100)
{
    STQvWaveFormat format{};
    format.nChannels = static_cast<uint16_t>(channels);
    format.nBitsPerSample = static_cast<uint16_t>(bits);
    format.nSamplesPerSec = rate;
    format.nBlockAlign = static_cast<uint16_t>(channels * bits / 8);
    return format;
}

// Codes and sizes of the index, as "COMM 18, SSND 0".
std::string Listed(const clAIFFHandler& aiff)
{
    std::string text;
    for (int i = 0; i < aiff.Count(); ++i) {
        const STRIFFChunk& chunk = *aiff.GetChunk(i);
        text += i == 0 ? "" : ", ";
        for (int c = 0; c < 4; ++c)
            text.push_back(static_cast<char>(chunk.ID >> 8 * c));
        text += " " + std::to_string(chunk.nSize);
    }
    return text;
}

// The whole calling order.
bool WriteWhole(const std::shared_ptr<MemoryFile>& file, const STQvWaveFormat& format,
                const clPassAIFFChunks& pass, const Bytes& samples)
{
    clAIFFHandler aiff;
    if (!aiff.InitializeNewAIFF(file, format, {}, pass) || aiff.WriteSTSoundData() != 8 ||
        !aiff.Write(samples))
        return false;
    STRIFFChunk* sound = aiff.FindChunkForWrite("SSND", false);
    sound->nSize = 8 + std::ssize(samples);
    return aiff.WriteChunkHeaders(false) && aiff.WriteChunksAfterData() &&
           aiff.WriteCOMMChunkData(format, std::ssize(samples));
}

TEST(PassChunks, NewOnesGoBeforeTheLastSoundOrToTheEnd)
{
    clPassAIFFChunks list = PassList({{"SSND", {}}, {"ssnd", {}}, {"ANNO", {1}}});
    list.AddInternal(FourCC("NAME"), "ab", 2, true);
    list.AddInternal(FourCC("AUTH"), "c", 1, false);
    list.AddInternal(FourCC("NONE"), nullptr, 5, false);
    const char* const order[] = {"SSND", "NAME", "ssnd", "ANNO", "AUTH", "NONE"};
    ASSERT_EQ(list.Count(), 6);
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(list[i].code, FourCC(order[i])) << i;
    EXPECT_EQ(list[1].data.Used(), 2u);
    EXPECT_EQ(list[5].data.Used(), 0u); // there was nothing to copy
    EXPECT_EQ(list.FindChunk("SSND", false), 0);
    EXPECT_EQ(list.FindChunk("name", true), 1);
    EXPECT_EQ(list.FindChunk("name", false), -1);
    clPassAIFFChunks silent = PassList({{"ANNO", {1}}});
    silent.AddInternal(FourCC("NAME"), "a", 1, true);
    EXPECT_EQ(silent.FindChunk("NAME", false), 1);
}

TEST(Writer, LaysOutWhatPassesThroughAroundFormatAndSound)
{
    struct Case {
        std::vector<Passed> pass;
        const char* listed;
    };
    const Case cases[] = {
        {{}, "COMM 18, SSND 0"},
        {{{"ID3 ", {1, 2, 3}}}, "ID3  3, COMM 18, SSND 0"},
        {{{"SSND", {}}, {"ID3 ", {1}}}, "COMM 18, SSND 0, ID3  1"},
        // Their data is not taken over, whatever it is.
        {{{"SSND", Bytes(9)}, {"ANNO", {}}, {"COMM", Bytes(24)}}, "SSND 0, ANNO 0, COMM 18"},
        // In lower case they count, but are not those that readers look for.
        {{{"comm", {1}}, {"ssnd", {1}}}, "comm 18, COMM 18, ssnd 0, SSND 0"},
        {{{"Comm", {1}}, {"SSND", {}}}, "Comm 1, COMM 18, SSND 0"},
    };
    for (const Case& row : cases) {
        clAIFFHandler aiff;
        ASSERT_TRUE(aiff.InitializeNewAIFF(std::make_shared<MemoryFile>(), Format(1, 8), {},
                                           PassList(row.pass)));
        EXPECT_EQ(Listed(aiff), row.listed);
    }
}

TEST(Writer, StandsWhereTheSamplesGoAfterTheFirstStep)
{
    const Bytes format = Join({Big(2, 2), Big(0, 4), Big(16, 2), Extended(44100)});
    const Bytes name = Join({Text("NAME"), Big(3, 4), {'a', 'b', 'c', 0}});
    struct Case {
        std::vector<Passed> pass;
        Bytes before;
    };
    const Case cases[] = {
        {{}, {}},
        {{{"NAME", {'a', 'b', 'c'}}}, name}, // odd: a pad byte follows
        {{{"NAME", {'a', 'b', 'c'}}, {"SSND", {}}, {"ID3 ", {9}}}, name},
    };
    for (const Case& row : cases) {
        const auto file = std::make_shared<MemoryFile>();
        clAIFFHandler aiff;
        ASSERT_TRUE(aiff.InitializeNewAIFF(file, Format(2, 16), {}, PassList(row.pass)));
        const Bytes head = Join({Text("FORM"), Big(0, 4), Text("AIFF"), row.before, Text("COMM"),
                                 Big(18, 4), format, Text("SSND"), Big(0, 4)});
        EXPECT_EQ(file->bytes, head);
        EXPECT_EQ(aiff.Position(), std::ssize(head) + 8);
        EXPECT_EQ(aiff.WriteSTSoundData(), 8);
        EXPECT_EQ(file->bytes, Join({head, Bytes(8)}));
        EXPECT_EQ(aiff.Position(), file->Size());
    }
}

TEST(Writer, WholeFilesSatisfyAStrictReader)
{
    struct Case {
        int channels, bits;
        size_t frames;
    };
    const Case cases[] = {{1, 8, 5}, {1, 8, 0}, {3, 24, 3}, {2, 16, 100}, {1, 32, 7}};
    const std::vector<Passed> pass = {
        {"ANNO", Noise(3)}, {"COMM", {}},       {"NAME", Noise(4)},      {"SSND", {}},
        {"MARK", {}},       {"AUTH", Noise(7)}, {"ID3 ", Noise(101, 5)}, {"(c) ", {65}}};
    for (const Case& row : cases) {
        const STQvWaveFormat format = Format(row.channels, row.bits, 96000);
        const Bytes samples = Noise(row.frames * format.nBlockAlign, 7);
        const auto file = std::make_shared<MemoryFile>();
        ASSERT_TRUE(WriteWhole(file, format, PassList(pass), samples));
        const WalkedForm form = WalkStrictly(file->bytes); // pads, positions, sizes
        EXPECT_EQ(form.type, "AIFF");
        ASSERT_EQ(form.chunks.size(), pass.size());
        for (size_t i = 0; i < pass.size(); ++i) {
            EXPECT_EQ(form.chunks[i].code, pass[i].code);
            if (pass[i].code != "COMM" && pass[i].code != "SSND")
                EXPECT_EQ(form.chunks[i].data, pass[i].data) << pass[i].code;
        }
        EXPECT_EQ(form.Only("SSND").data, Join({Bytes(8), samples}));
        EXPECT_EQ(form.Only("COMM").data,
                  Join({Big(static_cast<uint64_t>(row.channels), 2), Big(row.frames, 4),
                        Big(static_cast<uint64_t>(row.bits), 2), Extended(96000)}));
    }
}

TEST(Writer, EveryStepSaysThatTheDiskIsFull)
{
    const clPassAIFFChunks pass = PassList({{"NAME", Noise(6)}, {"SSND", {}}, {"ID3 ", Noise(9)}});
    const Bytes samples = Noise(40);
    const auto whole = std::make_shared<MemoryFile>();
    ASSERT_TRUE(WriteWhole(whole, Format(1, 16), pass, samples));
    for (int64_t room = 0; room < whole->Size(); ++room)
        EXPECT_FALSE(WriteWhole(std::make_shared<MemoryFile>(room), Format(1, 16), pass, samples))
            << room;
    const auto exact = std::make_shared<MemoryFile>(whole->Size());
    EXPECT_TRUE(WriteWhole(exact, Format(1, 16), pass, samples));
    EXPECT_EQ(exact->bytes, whole->bytes);
    clAIFFHandler closed; // nothing is open
    EXPECT_FALSE(closed.InitializeNewAIFF(nullptr, Format(1, 16), {}, pass));
    EXPECT_EQ(closed.WriteSTSoundData(), 0);
}

TEST(Writer, MissingEntriesAreNoneToWrite)
{
    clAIFFHandler aiff;
    EXPECT_FALSE(aiff.WriteCOMMChunkData(Format(1, 8), 0));
    EXPECT_FALSE(clAIFFHandler::UpdateCOMMChunkData(nullptr, Format(1, 8), 0));
    EXPECT_EQ(aiff.FindChunkForWrite("SSND", true), nullptr);
    EXPECT_TRUE(aiff.WriteChunksAfterData());
    STRIFFChunk entry;
    STQvWaveFormat format = Format(1, 8);
    format.nBlockAlign = 0; // counts as 1
    ASSERT_TRUE(clAIFFHandler::UpdateCOMMChunkData(&entry, format, 0x1234567));
    EXPECT_EQ(Bytes(entry.Data.Data() + 2, entry.Data.Data() + 6), Big(0x1234567, 4));
}

} // namespace
