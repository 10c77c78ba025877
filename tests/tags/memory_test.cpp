// SPDX-License-Identifier: MIT

// How much memory hostile tags take: what operator new gives out is counted.
#include "TagBuilder.h"
#include "tags/TagItems.h"

#include <gtest/gtest.h>

#include <atomic>
#ifdef __APPLE__
#include <malloc/malloc.h>
#else
#include <malloc.h>
#endif
#include <new>

namespace
{

std::atomic<size_t> current = 0, peak = 0;

size_t SizeOf(void* block)
{
#ifdef __APPLE__
    return malloc_size(block);
#else
    return malloc_usable_size(block);
#endif
}

} // namespace

// Not inlined, so that the compiler does not take them for a pair that does not match.
[[gnu::noinline]] void* operator new(size_t size)
{
    void* const block = std::malloc(size);
    if (block == nullptr)
        throw std::bad_alloc();
    current += SizeOf(block);
    peak = std::max(peak.load(), current.load());
    return block;
}

[[gnu::noinline]] void operator delete(void* block) noexcept
{
    if (block != nullptr)
        current -= SizeOf(block);
    std::free(block);
}

[[gnu::noinline]] void operator delete(void* block, size_t) noexcept
{
    operator delete(block);
}

namespace
{

// Bytes in use at most while `operation` runs, beyond those before it.
size_t PeakOf(auto&& operation)
{
    const size_t before = peak = current.load();
    operation();
    return peak - before;
}

constexpr size_t kSize = 1 << 15; // of a tag, and what is spent whatever its size

// '%' is another name each time; the frames before '*' come once.
Bytes HostileTag(int version, std::string note)
{
    if (const size_t star = note.find('*'); star != note.npos) {
        const std::string unit = note.substr(star + 1);
        note.resize(star);
        for (size_t i = 0; i < kSize / unit.size(); ++i)
            note += unit;
        return Tag(version, note);
    }
    std::string content;
    for (uint32_t i = 0; content.size() < kSize; ++i) {
        std::string own = note;
        if (const size_t mark = own.find('%'); mark != own.npos)
            own.replace(mark, 1,
                        {char('!' + i % 60), char('!' + i / 60 % 60), char('!' + i / 3600)});
        content += Frames(version, own);
    }
    return TagOf(version, content);
}

TEST(TagMemory, IsBoundedByTheSizeOfTheTag)
{
    using Row = std::tuple<int, std::string, size_t>;
    const Row rows[] = {
        Row(3, "TPE1:*/", 3),        Row(2, "TP1:*a/", 3),       Row(3, "TCON:*1;", 3),
        Row(2, "TCO:*92;", 3),       Row(2, "TCO:1;1;1;1;", 12), Row(3, "APIC:~\3~x", 12),
        Row(2, "PIC:JPG\x0F~x", 12), Row(4, "PRIV[0002]=x", 12), Row(4, "APIC[0002]:~\3~x", 12),
        Row(3, "TXXX:%~x", 12),      Row(2, "WXX:%~x", 12),      Row(2, "TT2:", 12),
        Row(3, "TIT2:*a", 12),       Row(3, "TXXX:*\x80", 12),   Row(3, "TYER:*\x80", 12),
        Row(2, "TXX:%~x", 12),       Row(3, "APIC:i~\3~*x", 3)};
    const Bytes other = Tag(4, "TALB:x");
    for (const auto& [version, note, times] : rows) {
        const Bytes tag = HostileTag(version, note);
        const size_t bound = times * tag.size() + kSize;
        XMem blob; // comes from calloc
        const size_t reading = PeakOf([&tag = tag, &blob] {
            TagItems items;
            int64_t count = 0;
            EXPECT_TRUE(items.Add(tag) && items.ToRawMemory(blob, count));
        });
        // The names of genres take up to thirteen times as much in a blob as their numbers.
        EXPECT_LT(reading + blob.Used(), std::max(bound, tag.size() + blob.Used() + kSize)) << note;
        const auto editing = [](const std::vector<std::span<const uint8_t>>& tags, auto makeList) {
            return PeakOf([&] { EXPECT_FALSE(Edited(tags, makeList(), {}).empty()); });
        };
        const auto album = [] { return ListOf(L"Album=b"); };
        EXPECT_LT(editing({tag}, album), bound) << note;
        EXPECT_LT(editing({tag, other}, album), 12 * tag.size() + kSize) << note;
        const auto setBack = [&blob] { return Decoded(blob.View()); };
        EXPECT_LT(editing({tag}, setBack), 12 * std::max(tag.size(), blob.Used()) + kSize) << note;
    }
}

} // namespace
