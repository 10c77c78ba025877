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
struct MemoryFile : FileContent {
    explicit MemoryFile(int64_t size = std::numeric_limits<int64_t>::max()) : room(size) {}

    int64_t Size() const override { return std::ssize(bytes); }
    size_t ReadAt(int64_t, std::span<uint8_t>) const override { return 0; } // nobody reads
    bool WriteAt(int64_t position, std::span<const uint8_t> data) override
    {
        if (!SetSize(std::max(position + std::ssize(data), Size())))
            return false;
        std::copy(data.begin(), data.end(), bytes.begin() + position);
        return true;
    }
    bool SetSize(int64_t size) override
    {
        if (size <= room)
            bytes.resize(static_cast<size_t>(size));
        return size <= room;
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

STQvWaveFormat Format(int channels, int bits, uint32_t rate = 44100)
{
    STQvWaveFormat format{};
    format.nChannels = static_cast<uint16_t>(channels);
    format.nBitsPerSample = static_cast<uint16_t>(bits);
    format.nSamplesPerSec = rate;
    format.nBlockAlign = static_cast<uint16_t>(channels * bits / 8);
    return format;
}

// The codes of a list, and the sizes of an index, as "COMM 18 SSND 0 ".
std::string CodeText(uint32_t code)
{
    const Bytes letters = Big(code, 4); // the first letter is the lowest byte
    return std::string(letters.rbegin(), letters.rend()) + " ";
}
std::string Listed(const clAIFFHandler& aiff)
{
    std::string text;
    for (int i = 0; i < aiff.Count(); ++i)
        text += CodeText(aiff.GetChunk(i)->ID) + std::to_string(aiff.GetChunk(i)->nSize) + " ";
    return text;
}
std::string Listed(const clPassAIFFChunks& list)
{
    std::string text;
    for (int i = 0; i < list.Count(); ++i)
        text += CodeText(list[i].code) + std::to_string(list[i].data.Used()) + " ";
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
    aiff.FindChunkForWrite("SSND", false)->nSize = 8 + std::ssize(samples);
    return aiff.WriteChunkHeaders(false) && aiff.WriteChunksAfterData() &&
           aiff.WriteCOMMChunkData(format, std::ssize(samples));
}

TEST(PassChunks, NewOnesGoBeforeTheLastSoundOrToTheEnd)
{
    clPassAIFFChunks list = PassList({{"SSND", {}}, {"ssnd", {}}, {"ANNO", {1}}});
    list.AddInternal(FourCC("NAME"), "ab", 2, true);
    list.AddInternal(FourCC("NONE"), nullptr, 5, false); // nothing to copy
    EXPECT_EQ(Listed(list), "SSND 0 NAME 2 ssnd 0 ANNO 1 NONE 0 ");
    EXPECT_EQ(list.FindChunk("SSND", false), 0);
    EXPECT_EQ(list.FindChunk("name", true), 1);
    EXPECT_EQ(list.FindChunk("name", false), -1);
    clPassAIFFChunks silent = PassList({{"ANNO", {1}}});
    silent.AddInternal(FourCC("NAME"), "a", 1, true);
    EXPECT_EQ(Listed(silent), "ANNO 1 NAME 1 ");
}

TEST(Writer, LaysOutWhatPassesThroughAndStandsWhereTheSamplesGo)
{
    const Bytes comm = Join({Text("COMM"), Big(18, 4), Big(2, 2), Big(0, 4), Big(16, 2),
                             Extended(44100), Text("SSND"), Big(0, 4)});
    const Bytes name = Join({Text("NAME"), Big(3, 4), {'a', 'b', 'c', 0}}); // odd: a pad byte
    struct Case {
        Passed pass;
        const char* listed;
        Bytes begin; // empty: not looked at
    };
    const Case cases[] = {
        {{}, "COMM 18 SSND 0 ", comm},
        {{{"NAME", {'a', 'b', 'c'}}}, "NAME 3 COMM 18 SSND 0 ", Join({name, comm})},
        {{{"NAME", {'a', 'b', 'c'}}, {"SSND", {}}, {"ID3 ", {9}}},
         "NAME 3 COMM 18 SSND 0 ID3  1 ",
         Join({name, comm})},
        // Their data is not taken over, whatever it is.
        {{{"SSND", Bytes(9)}, {"ANNO", {}}, {"COMM", Bytes(24)}}, "SSND 0 ANNO 0 COMM 18 ", {}},
        // In lower case they count, but are not those that readers look for.
        {{{"comm", {1}}, {"ssnd", {1}}}, "comm 18 COMM 18 ssnd 0 SSND 0 ", {}},
        {{{"Comm", {1}}, {"SSND", {}}}, "Comm 1 COMM 18 SSND 0 ", {}},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(row.listed);
        const auto file = std::make_shared<MemoryFile>();
        clAIFFHandler aiff;
        ASSERT_TRUE(aiff.InitializeNewAIFF(file, Format(2, 16), {}, PassList(row.pass)));
        EXPECT_EQ(Listed(aiff), row.listed);
        if (row.begin.empty())
            continue;
        const Bytes head = Join({Text("FORM"), Big(0, 4), Text("AIFF"), row.begin});
        EXPECT_EQ(file->bytes, head);
        EXPECT_EQ(aiff.Position(), std::ssize(head) + 8);
        EXPECT_EQ(aiff.WriteSTSoundData(), 8);
        EXPECT_EQ(file->bytes, Join({head, Bytes(8)}));
        EXPECT_EQ(aiff.Position(), file->Size());
    }
}

TEST(Writer, WholeFilesSatisfyAStrictReaderAndEveryStepSaysThatTheDiskIsFull)
{
    const Passed pass = {{"ANNO", Noise(3)}, {"COMM", {}},        {"NAME", Noise(4)},
                         {"SSND", {}},       {"MARK", {}},        {"AUTH", Noise(7)},
                         {"(c) ", {65}},     {"ID3 ", Noise(101)}};
    struct Case {
        int channels, bits;
        size_t frames;
    };
    for (const auto& [channels, bits, frames] :
         {Case{1, 8, 5}, Case{1, 8, 0}, Case{3, 24, 3}, Case{2, 16, 100}, Case{1, 32, 7}}) {
        const STQvWaveFormat format = Format(channels, bits, 96000);
        const Bytes samples = Noise(frames * format.nBlockAlign, 7);
        const auto file = std::make_shared<MemoryFile>();
        ASSERT_TRUE(WriteWhole(file, format, PassList(pass), samples));
        const WalkedForm form = WalkStrictly(file->bytes); // pads, positions, sizes
        EXPECT_EQ(form.type, "AIFF");
        ASSERT_EQ(form.chunks.size(), pass.size());
        for (size_t i = 0; i < pass.size(); ++i) {
            EXPECT_EQ(form.chunks[i].code, pass[i].first);
            if (pass[i].first != "COMM" && pass[i].first != "SSND")
                EXPECT_EQ(form.chunks[i].data, pass[i].second) << pass[i].first;
        }
        EXPECT_EQ(form.Only("SSND").data, Join({Bytes(8), samples}));
        EXPECT_EQ(form.Only("COMM").data,
                  Join({Big(static_cast<uint64_t>(channels), 2), Big(frames, 4),
                        Big(static_cast<uint64_t>(bits), 2), Extended(96000)}));
        for (int64_t room = 0; room <= file->Size(); ++room) {
            const auto small = std::make_shared<MemoryFile>(room);
            EXPECT_EQ(WriteWhole(small, format, PassList(pass), samples), room == file->Size());
        }
    }
}

TEST(Writer, MissingEntriesAreNoneToWrite)
{
    clAIFFHandler aiff; // nothing is open
    EXPECT_FALSE(aiff.InitializeNewAIFF(nullptr, Format(1, 16), {}, {}));
    EXPECT_EQ(aiff.WriteSTSoundData(), 0);
    clAIFFHandler none;
    EXPECT_FALSE(none.WriteCOMMChunkData(Format(1, 8), 0));
    EXPECT_FALSE(clAIFFHandler::UpdateCOMMChunkData(nullptr, Format(1, 8), 0));
    EXPECT_EQ(none.FindChunkForWrite("SSND", true), nullptr);
    EXPECT_TRUE(none.WriteChunksAfterData());
    STRIFFChunk entry;
    STQvWaveFormat format = Format(1, 8);
    format.nBlockAlign = 0; // counts as 1
    ASSERT_TRUE(clAIFFHandler::UpdateCOMMChunkData(&entry, format, 0x1234567));
    EXPECT_EQ(Bytes(entry.Data.Data() + 2, entry.Data.Data() + 6), Big(0x1234567, 4));
}

} // namespace
