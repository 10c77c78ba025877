// The operations that edit chunks, below the plug-in: on a file, and on an edit of one
// that is not carried out yet.

#include "aiff/AIFFHandler.h"
#include "support/ChunkWalker.h"
#include "support/DiskFile.h"
#include "support/FileEdit.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>
#include <random>

namespace
{

Bytes Content(const FileContent& file)
{
    Bytes bytes(static_cast<size_t>(file.Size()));
    EXPECT_EQ(file.ReadAt(0, bytes), bytes.size());
    return bytes;
}

struct Case {
    const char* name;
    bool (*change)(clAIFFHandler& aiff);
    bool succeeds;
    Bytes expected;
};

AiffBuilder Plain()
{
    return AiffBuilder().Comm(1, 16, 44100).Ssnd(Noise(99));
}

const Bytes kTag = Noise(100, 5);

std::vector<Case> Cases()
{
    const Bytes before = Plain().Chunk("ID3 ", kTag).Build();
    const Bytes without = Plain().Build();
    const auto tagged = [](size_t size) {
        Bytes tag = kTag;
        tag.resize(size);
        return Plain().Chunk("ID3 ", tag).Build();
    };
    Bytes added = Join({before, Text("NEW "), Big(7, 4), Bytes(7)});
    Bytes completed = Join({added, Bytes(1)});
    const Bytes formSize = Big(completed.size() - 8, 4);
    std::copy(formSize.begin(), formSize.end(), completed.begin() + 4);
    Bytes written = before;
    std::copy_n(Text("tag").begin(), 3, written.end() - 100);
    const auto add = [](clAIFFHandler& aiff) {
        return aiff.SetPosition(aiff.GetFormEnd()) && aiff.AddNewChunkToFile("NEW ", 7);
    };
    return {
        {"grow", [](clAIFFHandler& aiff) { return aiff.ResizeExistingChunkOnFile(2, 151); }, true,
         tagged(152)},
        {"shrink", [](clAIFFHandler& aiff) { return aiff.ResizeExistingChunkOnFile(2, 7); }, true,
         tagged(8)},
        {"same", [](clAIFFHandler& aiff) { return aiff.ResizeExistingChunkOnFile(2, 100); }, false,
         before},
        {"same when even",
         [](clAIFFHandler& aiff) { return aiff.ResizeExistingChunkOnFile(2, 99); }, false, before},
        {"nothing left", [](clAIFFHandler& aiff) { return aiff.ResizeExistingChunkOnFile(2, 0); },
         true, without},
        {"index of the count",
         [](clAIFFHandler& aiff) { return aiff.ResizeExistingChunkOnFile(3, 9); }, false, before},
        {"remove", [](clAIFFHandler& aiff) { return aiff.RemoveChunkFromFile(2); }, true, without},
        {"remove first", [](clAIFFHandler& aiff) { return aiff.RemoveChunkFromFile(0); }, true,
         AiffBuilder().Ssnd(Noise(99)).Chunk("ID3 ", kTag).Build()},
        {"remove none", [](clAIFFHandler& aiff) { return aiff.RemoveChunkFromFile(-1); }, false,
         before},
        {"remove the count", [](clAIFFHandler& aiff) { return aiff.RemoveChunkFromFile(3); }, false,
         before},
        {"remove several",
         [](clAIFFHandler& aiff) {
             return aiff.RemoveChunksFromFile(std::array{0, 1});
         },
         true, AiffBuilder().Chunk("ID3 ", kTag).Build()},
        {"add", add, true, added},
        {"add and write headers",
         [](clAIFFHandler& aiff) {
             return aiff.SetPosition(aiff.GetFormEnd()) && aiff.AddNewChunkToFile("NEW ", 7) &&
                    aiff.WriteChunkHeaders(false);
         },
         true, completed},
        {"write data",
         [](clAIFFHandler& aiff) { return aiff.WriteChunkData(*aiff.GetChunk(2), Text("tag")); },
         true, written},
        {"write headers", [](clAIFFHandler& aiff) { return aiff.WriteChunkHeaders(false); }, true,
         before},
    };
}

TEST(ChunkEdit, OperationsOnFilesAndOnEditsOfFiles)
{
    const TempDir dir;
    const Bytes before = Plain().Chunk("ID3 ", kTag).Build();
    for (const Case& test : Cases())
        for (const bool onEdit : {false, true}) {
            SCOPED_TRACE(test.name + std::string(onEdit ? " on an edit" : ""));
            const std::string path = dir.Write("a.aiff", before);
            XFileHandle file = DiskFile::Open(path, XFile::Access::ReadWrite);
            if (onEdit)
                file = std::make_shared<FileEdit>(std::move(file));
            clAIFFHandler aiff;
            ASSERT_TRUE(aiff.Initialize(file, {}));
            EXPECT_EQ(test.change(aiff), test.succeeds);
            EXPECT_EQ(Content(*file), test.expected);
            EXPECT_TRUE(!onEdit || ReadFile(path) == before);
        }
}

TEST(ChunkEdit, StrayBytesGoWithTheFirstHeaders)
{
    const TempDir dir;
    const Bytes file = Plain().Build();
    for (const Bytes& stray : {Bytes(), Bytes(10, 'x')}) {
        const std::string path = dir.Write("a.aiff", Join({file, stray}));
        clAIFFHandler aiff;
        ASSERT_TRUE(aiff.Initialize(DiskFile::Open(path, XFile::Access::ReadWrite), {}));
        EXPECT_TRUE(aiff.WriteChunkHeaders(false));
        EXPECT_EQ(ReadFile(path), file);
    }
}

// One operation on both an edit and a plain vector of bytes.
void ChangeBoth(std::mt19937& random, FileEdit& edit, Bytes& model)
{
    const auto below = [&](size_t limit) { return random() % (limit + 1); };
    const auto size = static_cast<int64_t>(model.size());
    const size_t at = below(model.size() + 9);
    const auto from = static_cast<int64_t>(std::min(at, model.size()));
    switch (random() % 4) {
    case 0: {
        const Bytes bytes = Noise(below(90), static_cast<uint32_t>(random()));
        ASSERT_TRUE(edit.WriteAt(static_cast<int64_t>(at), bytes));
        if (bytes.empty())
            break;
        model.resize(std::max(model.size(), at + bytes.size()));
        std::copy(bytes.begin(), bytes.end(), model.begin() + static_cast<int64_t>(at));
        break;
    }
    case 1:
        ASSERT_TRUE(edit.SetSize(static_cast<int64_t>(at)));
        model.resize(at);
        break;
    case 2: {
        const int64_t delta = static_cast<int64_t>(below(60)) - std::min<int64_t>(from, 30);
        ASSERT_TRUE(edit.Move(from, delta));
        const Bytes tail(model.begin() + from, model.end());
        model.resize(static_cast<size_t>(from + std::min<int64_t>(delta, 0)));
        model.resize(static_cast<size_t>(from + delta));
        Append(model, tail);
        break;
    }
    default: {
        const auto second = from + static_cast<int64_t>(below(static_cast<size_t>(size - from)));
        const FileContent::Range ranges[] = {{from / 3, from / 2}, {from, second}};
        ASSERT_TRUE(edit.Remove(ranges));
        model.erase(model.begin() + from, model.begin() + second);
        model.erase(model.begin() + from / 3, model.begin() + from / 2);
    }
    }
}

TEST(FileEditModel, RandomChangesEqualThoseOfAVector)
{
    const TempDir dir;
    Bytes base = Noise(500);
    const std::string path = dir.Write("a", base);
    for (uint32_t seed = 0; seed < 300; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        FileEdit edit(DiskFile::Open(path, XFile::Access::Read));
        Bytes model = base;
        for (int step = 0; step < 25; ++step) {
            ChangeBoth(random, edit, model);
            ASSERT_EQ(Content(edit), model) << "step " << step;
        }
        // The changes alone lead from the old content to the new one, or it has moved.
        Bytes carried = base;
        carried.resize(model.size());
        for (const FileEdit::Change& change : edit.Changes())
            std::copy(change.bytes.begin(), change.bytes.end(), carried.begin() + change.position);
        EXPECT_TRUE(edit.MovesBaseBytes() || carried == model);
    }
}

} // namespace
