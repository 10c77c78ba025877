// SPDX-License-Identifier: MIT

// What reading and editing tags costs: counts of bytes, calls and memory.

#include "edits/EditHarness.h"
#include "support/SystemCalls.h"

#include <malloc.h>

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

// A figure of this process in KiB, as the system tells it.
int64_t Status(const std::string& name)
{
    std::ifstream file("/proc/self/status");
    for (std::string line; std::getline(file, line);)
        if (line.starts_with(name))
            return std::stoll(line.substr(name.size()));
    return -1;
}

// Memory in bytes that a function needs at its peak, beyond what was there before.
template <class Body>
int64_t PeakOf(Body&& body)
{
    mallopt(M_MMAP_THRESHOLD, 1 << 16); // so that freed blocks are not kept for later
    malloc_trim(0);
    const int64_t before = Status("VmRSS:");
    std::ofstream("/proc/self/clear_refs") << "5" << std::flush;
    if (before < 0 || Status("VmHWM:") > before + 512)
        return -1;
    body();
    return (Status("VmHWM:") - before) * 1024;
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
    const std::pair<const char*, int64_t> peaks[] = {
        {"read", PeakOf([&] { EXPECT_EQ(host.Open(path, QV_OPEN_READ_TAGS), 1); })},
        {"set title", PeakOf([&] { EXPECT_EQ(setTitle(), 1); })},
        {"set picture", PeakOf([&] { EXPECT_EQ(setPicture(), 1); })}};
    for (const auto& [name, peak] : peaks) {
        if (peak < 0)
            GTEST_SKIP() << "the peak cannot be measured here";
        RecordProperty(name, std::to_string(peak));
        EXPECT_LE(peak, static_cast<int64_t>(3 * kSize + (1 << 20))) << name;
    }
}

} // namespace
