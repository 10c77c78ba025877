// What reading and editing tags costs: counts of bytes, calls and memory.

#include "Layouts.h"
#include "SystemCalls.h"

#include <ctime>
#include <malloc.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/user.h>
#include <sys/wait.h>

namespace
{

using MeasureTest = PluginTest;

const Edit kTitle{"title", Edit::Set, {{"Title", "Another", {}}}};

Bytes PictureTag(size_t size)
{
    const Bytes picture = Join({Bytes(1), Text("image/png"), Bytes{0, 3, 0}, Noise(size)});
    const Bytes frames =
        Join({Frame("TIT2", Text(std::string(1, '\0') + "Old")), Frame("APIC", picture)});
    const auto byte = [&](int shift) {
        return static_cast<uint8_t>(frames.size() >> shift & 0x7F);
    };
    return Join({Text("ID3"), {3, 0, 0, byte(21), byte(14), byte(7), byte(0)}, frames});
}

// A file of many bytes with its tag last, made without holding it twice.
Bytes TaggedFile(size_t soundSize, const Bytes& tag)
{
    return AiffBuilder().Comm(1, 16, 44100).Ssnd(Noise(soundSize)).Chunk("ID3 ", tag).Build();
}

TEST_F(MeasureTest, ChangedFieldWritesNoMoreThanTheTag)
{
    const Bytes tag = PictureTag(30000);
    const std::string path = dir.Write("a.aiff", TaggedFile(5000000, tag));
    const EditCall edit(plugin, path, kTitle);
    SystemCalls::Start();
    EXPECT_EQ(edit(), 1);
    const SystemCalls::Counts counts = SystemCalls::Stop();
    EXPECT_GT(counts.written, 0);
    EXPECT_LT(counts.written, std::ssize(tag) + 4096);
    // The same list once more: nothing.
    SystemCalls::Start();
    EXPECT_EQ(edit(), 1);
    EXPECT_EQ(SystemCalls::Stop().written, 0);
}

// System calls of a function, counted from outside; -1 when that cannot be done here.
template <class Body>
long CallsOf(Body&& body)
{
    const pid_t child = fork();
    if (child == 0) {
        if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0)
            _exit(1);
        raise(SIGSTOP);
        syscall(SYS_getppid); // marks the start and the end
        body();
        syscall(SYS_getppid);
        _exit(0);
    }
    long calls = 0;
    int marks = 0;
    int status = 0;
    bool entered = false;
    for (waitpid(child, &status, 0); WIFSTOPPED(status); waitpid(child, &status, 0)) {
        user_regs_struct registers = {};
        if (WSTOPSIG(status) == SIGTRAP) {
            entered = !entered;
            ptrace(PTRACE_GETREGS, child, nullptr, &registers);
            const bool isMark = registers.orig_rax == SYS_getppid;
            marks += entered && isMark;
            calls += entered && !isMark && marks == 1;
        }
        ptrace(PTRACE_SYSCALL, child, nullptr, nullptr);
    }
    return marks == 2 ? calls : -1;
}

TEST_F(MeasureTest, OpeningATaggedFileTakesFewSystemCalls)
{
#ifdef AIFF_SANITIZED
    GTEST_SKIP() << "a sanitizer makes calls of its own";
#endif
    const std::string path = dir.Write("a.aiff", TaggedFile(2000, PictureTag(30000)));
    Instance host(plugin);
    const long calls = CallsOf([&] {
        host.Open(path, 1 + 8 + 16);
        host.Close();
    });
    if (calls < 0)
        GTEST_SKIP() << "no tracing of processes here";
    RecordProperty("calls", std::to_string(calls));
    EXPECT_LE(calls, 25);
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
    const std::string path = dir.Write("a.aiff", TaggedFile(2000, PictureTag(kSize)));
    const Edit picture{"", Edit::Set, {{"_albumart_1_Front Album Cover", "", Noise(kSize, 9)}}};
    const EditCall setTitle(plugin, path, kTitle);
    const EditCall setPicture(plugin, path, picture);
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

struct Growing {
    const char* name;
    Bytes (*file)(size_t count);
    Edit (*edit)(size_t count);
};

Bytes ManyFrames(size_t count)
{
    Bytes frames;
    for (size_t i = 0; i < count; ++i) {
        const std::string number = std::to_string(i);
        Append(frames, Frame("TXXX", Text('\0' + number + '\0' + "value")));
        Append(frames, Frame("PRIV", Text(number + '\0' + "data")));
    }
    const size_t size = frames.size();
    return Join({Text("ID3"),
                 {3, 0, 0, uint8_t(size >> 21), uint8_t(size >> 14 & 0x7F),
                  uint8_t(size >> 7 & 0x7F), uint8_t(size & 0x7F)},
                 frames});
}

Bytes ManyChunks(size_t count, bool tags)
{
    AiffBuilder builder;
    builder.Chunk("ID3 ", Tag("Old")).Comm(1, 16, 44100).Ssnd(Noise(100));
    for (size_t i = 0; i < count; ++i)
        builder.Chunk(tags && i % 2 == 0 ? "ID3 " : "ANNO",
                      tags && i % 2 == 0 ? Tag(std::to_string(i)) : Text("odd"));
    return builder.Build();
}

const Growing kGrowing[] = {
    {"frames in a tag", [](size_t count) { return TaggedFile(100, ManyFrames(count)); },
     [](size_t) { return kTitle; }},
    {"items in a list", [](size_t) { return TaggedFile(100, Tag("Old")); },
     [](size_t count) {
         Edit edit = kTitle;
         for (size_t i = 0; i < count; ++i)
             edit.items.push_back({"field " + std::to_string(i), "value", {}});
         return edit;
     }},
    {"names to delete", [](size_t count) { return TaggedFile(100, ManyFrames(count)); },
     [](size_t count) {
         Edit edit{"", Edit::Delete, {}};
         for (size_t i = 0; i < count; ++i)
             edit.items.push_back({std::to_string(i), "", {}});
         return edit;
     }},
    {"chunks", [](size_t count) { return ManyChunks(count, false); },
     [](size_t) { return kTitle; }},
    {"tag chunks", [](size_t count) { return ManyChunks(count, true); },
     [](size_t) { return kTitle; }},
    {"tag chunks to delete", [](size_t count) { return ManyChunks(count, true); },
     [](size_t) {
         return Edit{"", Edit::DeleteAll, {}};
     }},
};

// An eightfold amount may take eight times as long, and some more, but not 64 times.
TEST_F(MeasureTest, TimeAndCallsAreLinear)
{
    for (const Growing& growing : kGrowing) {
        SCOPED_TRACE(growing.name);
        double seconds[2] = {};
        long calls[2] = {};
        for (const int large : {0, 1}) {
            const size_t count = large != 0 ? 40000 : 5000;
            const std::string path = dir.Write("a.aiff", growing.file(count));
            const EditCall edit(plugin, path, growing.edit(count));
            const std::clock_t start = std::clock();
            SystemCalls::Start();
            EXPECT_EQ(edit(), 1);
            calls[large] = SystemCalls::Stop().calls;
            Instance host(plugin);
            EXPECT_EQ(host.Open(path, QV_OPEN_READ_TAGS), 1);
            seconds[large] = static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
        }
        RecordProperty(growing.name, std::to_string(seconds[0]) + " " + std::to_string(seconds[1]) +
                                         " " + std::to_string(calls[0]) + " " +
                                         std::to_string(calls[1]));
        EXPECT_LT(calls[1], 10 * calls[0] + 100);
        EXPECT_LT(seconds[1], 25 * seconds[0] + 0.1);
    }
}

} // namespace
