// What reading and editing tags costs: counts of bytes, calls and memory.

#include "Layouts.h"
#include "SystemCalls.h"

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

// An eightfold number of chunks may take eight times as many calls, and some more.
TEST_F(MeasureTest, CallsAreLinearInTheNumberOfChunks)
{
    for (const Edit& edit : {kTitle, Edit{"delete all", Edit::DeleteAll, {}}}) {
        long calls[2] = {};
        for (const int large : {0, 1}) {
            AiffBuilder builder;
            builder.Comm(1, 16, 44100).Ssnd(Noise(100));
            for (int i = 0; i < (large != 0 ? 8000 : 1000); ++i)
                builder.Chunk("ID3 ", Tag(std::to_string(i))).Chunk("ANNO", Text("odd"));
            const EditCall apply(plugin, dir.Write("a.aiff", builder.Build()), edit);
            SystemCalls::Start();
            EXPECT_EQ(apply(), 1);
            calls[large] = SystemCalls::Stop().calls;
        }
        EXPECT_LT(calls[1], 10 * calls[0] + 100) << edit.name;
    }
}

} // namespace
