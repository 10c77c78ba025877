// SPDX-License-Identifier: MIT

// What reading and editing tags costs: counts of bytes, calls and memory.

#include "edits/EditHarness.h"
#include "support/SystemCalls.h"

#include <sys/resource.h>

namespace
{

using MeasureTest = PluginTest;

const Edit kTitle{"title", Edit::Set, ListOf(L"Title=Another")};

Bytes TaggedFile(size_t soundSize, size_t pictureSize)
{
    const std::string frames = "TIT2:Old|APIC:image/png\0\3\0"s + std::string(pictureSize, 'p');
    return AiffBuilder().Comm(1, 16, 44100).Ssnd(Noise(soundSize)).Chunk("ID3 ", Tag(3, frames));
}

TEST_F(MeasureTest, ChangedFieldWritesLittleMoreThanTwiceTheTag)
{
    const std::string path = File(TaggedFile(5000000, 30000));
    const EditCall edit(plugin, path, kTitle);
    SystemCalls::Start();
    EXPECT_EQ(edit(), 1);
    const int64_t written = SystemCalls::Stop().written;
    EXPECT_TRUE(written > 0 && 2 * written < 5 * 30100) << written;
    // The same list once more: nothing.
    SystemCalls::Start();
    EXPECT_EQ(edit(), 1);
    EXPECT_EQ(SystemCalls::Stop().written, 0);
}

TEST_F(MeasureTest, OpeningATaggedFileTakesFewSystemCalls)
{
    const std::string path = File(TaggedFile(2000, 30000));
    Instance host(plugin);
    SystemCalls::Start();
    host.Open(path, 1 + 8 + 16);
    host.Close();
    EXPECT_LE(SystemCalls::Stop().calls, 9); // that can fail: open, fstat, pread, close
}

// The memory that a function needs at its peak, in tenths of `size` bytes; 255 when it fails.
int PeakOf(size_t size, const std::function<bool()>& body)
{
    return InChild([&] { // whose own peak starts with what is in use
        rusage before = {}, after = {};
        getrusage(RUSAGE_SELF, &before);
        const bool isDone = body();
        getrusage(RUSAGE_SELF, &after);
        const auto more = static_cast<size_t>(after.ru_maxrss - before.ru_maxrss) * 1024;
        return isDone ? static_cast<int>(std::min<size_t>(10 * more / size, 255)) : 255;
    });
}

TEST_F(MeasureTest, MemoryIsBoundedByTheSizeOfTheTag)
{
#ifdef AIFF_SANITIZED
    GTEST_SKIP() << "a sanitizer needs memory of its own";
#endif
    constexpr size_t kSize = 40'000'000; // more than the allocator keeps
    const std::string path = File(TaggedFile(2000, kSize));
    const EditCall setTitle(plugin, path, kTitle);
    const EditCall setPicture(plugin, path, {"", Edit::Set, WithCover(Noise(kSize, 9))});
    Instance host(plugin);
    const int reading = PeakOf(kSize, [&] { return host.Open(path, QV_OPEN_READ_TAGS) == 1; });
    EXPECT_TRUE(reading >= 10 && reading <= 30) << reading;
    for (const EditCall* edit : {&setTitle, &setPicture})
        EXPECT_LE(PeakOf(kSize, [&] { return (*edit)() == 1; }), 30);
}

} // namespace
