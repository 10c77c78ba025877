// A system that fails, and a process that ends, at every step of an edit.

#include "Layouts.h"
#include "support/Sndfile.h"
#include "support/SystemCalls.h"

#include <cerrno>
#include <cstring>
#include <sys/wait.h>

namespace
{

using SystemCalls::Fault;

std::vector<Layout> MainLayouts()
{
    const std::string names = "|no tag|no tag, final pad byte missing|tag last|odd tag last|tag "
                              "first|padded tag first|odd padded tag of 255 bytes first|tags "
                              "around the sound|two tags last|slack in a first chunk|stray bytes|"
                              "form ends before the tag|form of size 0|form too large|sound cut "
                              "off|sound cut off behind a tag|";
    std::vector<Layout> layouts = EditableLayouts();
    std::erase_if(layouts, [&](const Layout& layout) {
        return names.find("|" + layout.name + "|") == names.npos;
    });
    return layouts;
}

// What the report has to say of a call that a fault struck. A failed read counts as an
// input/output error, whatever the system called it.
std::string ReasonOf(Fault fault, const std::string& call)
{
    if (fault == Fault::NoMemory)
        return std::strerror(ENOMEM);
    if (fault == Fault::Fails || call == "pread")
        return std::strerror(EIO);
    return std::strerror(fault == Fault::DiskFull ? ENOSPC : EINTR);
}

// Every edit of one layout.
class FaultTest : public PluginTest, public testing::WithParamInterface<Layout>
{
protected:
    std::string Complete(const Edit& edit)
    {
        const std::string wrong = WhatIsWrong(layout, edit, ReadFile(path));
        return wrong.empty() ? WhatReadsWrong(plugin, path, layout, edit) : wrong;
    }

    // An edit in which one call fails; false when there were fewer calls.
    bool EditWithFault(const Edit& edit, Fault fault, long call)
    {
        (void)dir.Write("a.aiff", layout.file);
        (void)report.Take(kError);
        const EditCall apply(plugin, path, edit, &report);
        SystemCalls::Start(fault, call);
        const int32_t result = apply();
        const SystemCalls::Counts counts = SystemCalls::Stop();
        if (!counts.struck)
            return false;
        SCOPED_TRACE(edit.name + (", call " + std::to_string(call) + ", ") + counts.last);
        const std::string error = report.Take(kError);
        const bool isSame = ReadFile(path) == layout.file;
        const std::string wrong = Complete(edit);
        if (result == 0) {
            EXPECT_TRUE(isSame);
            EXPECT_TRUE(!error.empty() || fault == Fault::NoMemory);
            if (error.find("Error writing file") != std::string::npos) {
                EXPECT_NE(error.find(ReasonOf(fault, counts.last)), std::string::npos) << error;
            }
        } else if (!isSame || error.empty()) {
            EXPECT_EQ(wrong, "");
        }
        EXPECT_EQ(FilesIn(dir), 1);
        return true;
    }

    const Layout layout = GetParam();
    const std::string path = dir.Path("a.aiff");
};

TEST_P(FaultTest, FailingCallLeavesTheFileAsItWasOrEdited)
{
    for (const Edit& edit : AllEdits())
        for (const Fault fault :
             {Fault::Fails, Fault::DiskFull, Fault::Interrupts, Fault::NoMemory})
            for (long call = 1; EditWithFault(edit, fault, call) && !HasFailure(); ++call)
                continue;
}

// What a strict reader finds that believes neither the form nor the file to hold more
// than the other says. `isWhole` becomes whether the form holds all of every chunk.
std::vector<Chunk> ReadableChunks(const Bytes& file, bool& isWhole)
{
    std::vector<Chunk> chunks;
    isWhole = false;
    if (file.size() < 12 || std::string(file.begin(), file.begin() + 4) != "FORM")
        return chunks;
    const size_t end = std::min(file.size(), Number(file, 4) + 8);
    isWhole = end == Number(file, 4) + 8;
    for (size_t at = 12; at + 8 <= end;) {
        const size_t size = std::min(Number(file, at + 4), end - at - 8);
        isWhole = isWhole && size == Number(file, at + 4);
        chunks.push_back(ChunkAt(file, at, size));
        at += 8 + size + size % 2;
    }
    std::erase_if(chunks, [](const Chunk& chunk) { return chunk.IsTag(); });
    return chunks;
}

// Whether all chunks of one list stand in another in that order.
bool Holds(const std::vector<Chunk>& all, const std::vector<Chunk>& wanted)
{
    auto next = wanted.begin();
    for (const Chunk& chunk : all)
        if (next != wanted.end() && chunk == *next)
            ++next;
    return next == wanted.end();
}

// -1 when libsndfile cannot open the file.
int64_t FramesBySndfile(const std::string& path)
{
    const Samples samples = ReadSamples(path);
    return samples.channels == 0 ? -1 : std::ssize(samples.values);
}

// Runs an edit in a process of its own, which ends at a call; false when there were
// fewer calls.
bool EditAndKill(const Plugin& plugin, const std::string& path, const Edit& edit, Fault fault,
                 long call)
{
    const pid_t child = fork();
    if (child == 0) {
        const EditCall apply(plugin, path, edit);
        SystemCalls::Start(fault, call);
        (void)apply();
        _exit(SystemCalls::Stop().struck ? 0 : 1);
    }
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) || WTERMSIG(status) == SIGKILL);
    return WIFSIGNALED(status) || WEXITSTATUS(status) == 0;
}

TEST_P(FaultTest, KilledProcessLosesNoAudio)
{
    // What nobody could read before the edit need not be readable in the middle.
    bool wasWhole = false;
    const std::vector<Chunk> before = ReadableChunks(layout.file, wasWhole);
    const int64_t frames = FramesBySndfile(dir.Write("a.aiff", layout.file));
    for (const Edit& edit : AllEdits())
        for (const Fault fault : {Fault::Kills, Fault::KillsInside})
            for (long call = 1; !HasFailure(); ++call) {
                (void)dir.Write("a.aiff", layout.file);
                if (!EditAndKill(plugin, path, edit, fault, call))
                    break;
                SCOPED_TRACE(edit.name + (", call " + std::to_string(call)) +
                             (fault == Fault::Kills ? "" : " inside"));
                bool isWhole = false;
                EXPECT_TRUE(Holds(ReadableChunks(ReadFile(path), isWhole), before));
                EXPECT_TRUE(isWhole || !wasWhole);
                EXPECT_GE(FramesBySndfile(path), frames);
                // The next edit finds a file that it can work with.
                EXPECT_EQ(ApplyEdit(plugin, path, edit, &report), 1);
                EXPECT_TRUE(Holds(ReadableChunks(ReadFile(path), isWhole), before));
                if (edit.kind == Edit::Set) {
                    EXPECT_EQ(WhatReadsWrong(plugin, path, layout, edit), "");
                    EXPECT_NO_THROW((void)WalkStrictly(ReadFile(path)));
                }
                for (const auto& entry : std::filesystem::directory_iterator(dir.Path("")))
                    if (entry.path() != path)
                        std::filesystem::remove(entry.path());
            }
}

// Not even what was written can be put back.
TEST_P(FaultTest, SystemThatKeepsFailingLosesNoAudio)
{
    bool wasWhole = false;
    const std::vector<Chunk> before = ReadableChunks(layout.file, wasWhole);
    for (const Edit& edit : AllEdits())
        for (long call = 1; !HasFailure(); ++call) {
            (void)dir.Write("a.aiff", layout.file);
            (void)report.Take(kError);
            const EditCall apply(plugin, path, edit, &report);
            SystemCalls::Start(Fault::KeepsFailing, call);
            const int32_t result = apply();
            const SystemCalls::Counts counts = SystemCalls::Stop();
            if (!counts.struck)
                break;
            SCOPED_TRACE(edit.name + (", from call " + std::to_string(call)) + ", " + counts.last);
            bool isWhole = false;
            EXPECT_TRUE(Holds(ReadableChunks(ReadFile(path), isWhole), before));
            EXPECT_TRUE(isWhole || !wasWhole);
            const std::string error = report.Take(kError);
            EXPECT_TRUE(!error.empty() || (result == 1 && Complete(edit).empty()));
            if (result == 0 && ReadFile(path) != layout.file) {
                EXPECT_NE(error.find("could not be put back"), std::string::npos);
            }
        }
}

INSTANTIATE_TEST_SUITE_P(Layouts, FaultTest, testing::ValuesIn(MainLayouts()),
                         [](const testing::TestParamInfo<Layout>& row) {
                             std::string name = row.param.name;
                             std::erase_if(name, [](char c) { return c == ','; });
                             std::replace(name.begin(), name.end(), ' ', '_');
                             return name;
                         });

} // namespace
