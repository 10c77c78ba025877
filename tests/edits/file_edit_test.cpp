// SPDX-License-Identifier: MIT

// An edit of a file that is not carried out yet.

#include "support/AiffBuilder.h"
#include "support/TempDir.h"
#include "support/file/DiskFile.h"
#include "support/file/FileEdit.h"

#include <gtest/gtest.h>
#include <random>

using namespace aiff;

namespace
{

Bytes Content(const FileContent& file)
{
    Bytes bytes(static_cast<size_t>(file.Size()));
    EXPECT_EQ(file.ReadAt(0, bytes), bytes.size());
    return bytes;
}

// A change that depends on nothing but the numbers and the size. What a move opens is filled.
void Change(std::mt19937 random, FileContent& file)
{
    const auto below = [&](int64_t limit) { return static_cast<int64_t>(random()) % (limit + 1); };
    const int64_t size = file.Size(), at = below(size + 9), from = std::min(at, size);
    const int64_t second = from + below(size - from),
                  delta = below(60) - std::min<int64_t>(from, 30);
    const FileContent::Range ranges[] = {{from / 3, from / 2}, {from, second}};
    const auto noise = [&](int64_t count) {
        return Noise(static_cast<size_t>(count), static_cast<uint32_t>(random()));
    };
    switch (random() % 4) {
    case 0:
        ASSERT_FALSE(file.WriteAt(at, noise(below(90))));
        break;
    case 1:
        ASSERT_FALSE(file.SetSize(at));
        break;
    case 2:
        ASSERT_FALSE(file.Move(from, delta));
        ASSERT_FALSE(file.WriteAt(from, noise(std::max<int64_t>(delta, 0))));
        break;
    default:
        ASSERT_FALSE(file.Remove(ranges));
    }
}

// The file is changed byte by byte, the edit piece by piece.
TEST(FileEditModel, RandomChangesEqualThoseOfAFile)
{
    const TempDir dir;
    const Bytes base = Noise(500);
    const auto open = [&](const std::string& name) {
        std::error_code error;
        return DiskFile::Open(dir.Write(name, base), DiskFile::Access::ReadWrite, error);
    };
    for (uint32_t seed = 0; seed < 300; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        FileEdit edit(open("a"));
        const XFileHandle changed = open("b");
        for (uint32_t step = 0; step <= seed % 25; ++step, random.discard(9)) {
            Change(random, edit);
            Change(random, *changed);
            ASSERT_EQ(Content(edit), Content(*changed)) << "step " << step;
        }
        // Only what lies between the differences is to be written, from memory alone.
        const auto [start, end] = edit.Differences(0);
        ASSERT_FALSE(edit.Hold({start, end}));
        EXPECT_EQ(edit.BytesOfBase({start, end}), 0);
        Bytes written(base.begin(), base.begin() + start);
        for (const std::span<const uint8_t> bytes : edit.Bytes({start, end}))
            written.insert(written.end(), bytes.begin(), bytes.end());
        if (end < edit.Size())
            written.insert(written.end(), base.begin() + end, base.end());
        EXPECT_EQ(written, Content(*changed));
    }
}

} // namespace
