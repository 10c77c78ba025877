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
        ASSERT_FALSE(edit.WriteAt(static_cast<int64_t>(at), bytes));
        if (bytes.empty())
            break;
        model.resize(std::max(model.size(), at + bytes.size()));
        std::copy(bytes.begin(), bytes.end(), model.begin() + static_cast<int64_t>(at));
        break;
    }
    case 1:
        ASSERT_FALSE(edit.SetSize(static_cast<int64_t>(at)));
        model.resize(at);
        break;
    case 2: {
        const int64_t delta = static_cast<int64_t>(below(60)) - std::min<int64_t>(from, 30);
        ASSERT_FALSE(edit.Move(from, delta));
        const Bytes tail(model.begin() + from, model.end());
        model.resize(static_cast<size_t>(from + std::min<int64_t>(delta, 0)));
        model.resize(static_cast<size_t>(from + delta));
        Append(model, tail);
        break;
    }
    default: {
        const auto second = from + static_cast<int64_t>(below(static_cast<size_t>(size - from)));
        const FileContent::Range ranges[] = {{from / 3, from / 2}, {from, second}};
        ASSERT_FALSE(edit.Remove(ranges));
        model.erase(model.begin() + from, model.begin() + second);
        model.erase(model.begin() + from / 3, model.begin() + from / 2);
    }
    }
}

TEST(FileEditModel, RandomChangesEqualThoseOfAVector)
{
    const TempDir dir;
    const Bytes base = Noise(500);
    const std::string path = dir.Write("a", base);
    for (uint32_t seed = 0; seed < 300; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        std::error_code error;
        FileEdit edit(DiskFile::Open(path, DiskFile::Access::Read, error));
        ASSERT_FALSE(error) << error.message();
        Bytes model = base;
        for (uint32_t step = 0; step <= seed % 25; ++step) {
            ChangeBoth(random, edit, model);
            ASSERT_EQ(Content(edit), model) << "step " << step;
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
        EXPECT_EQ(written, model);
    }
}

} // namespace
