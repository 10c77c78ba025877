// A system that fails, and a process that ends, at every step of an edit.

#include "edits/EditHarness.h"
#include "support/Sndfile.h"
#include "support/SystemCalls.h"

#include <cerrno>
#include <cstring>
#include <sys/wait.h>

namespace
{

using SystemCalls::Fault;

// What the report has to say of a call that a fault struck. A failed read counts as an
// input/output error, whatever the system called it.
std::string ReasonOf(Fault fault, const std::string& call)
{
    const bool isInputOutput = fault == Fault::Fails || call == "pread";
    return std::strerror(fault == Fault::NoMemory   ? ENOMEM
                         : isInputOutput            ? EIO
                         : fault == Fault::DiskFull ? ENOSPC
                                                    : EINTR);
}

// What a strict reader finds that believes neither the form nor the file to hold more
// than the other says, and whether the form holds all of every chunk.
std::pair<std::vector<Chunk>, bool> ReadableChunks(const Bytes& file)
{
    std::vector<Chunk> chunks;
    if (file.size() < 12 || !S(file).starts_with("FORM"))
        return {};
    const size_t end = std::min(file.size(), Number(file, 4) + 8);
    bool isWhole = end == Number(file, 4) + 8;
    for (size_t at = 12; at + 8 <= end;) {
        const size_t size = std::min(Number(file, at + 4), end - at - 8);
        isWhole = isWhole && size == Number(file, at + 4);
        chunks.push_back(ChunkAt(file, at, size));
        at += 8 + size + size % 2;
    }
    std::erase_if(chunks, [](const Chunk& chunk) { return chunk.IsTag(); });
    return {chunks, isWhole};
}

// Whether all chunks of one list stand in another in that order.
bool Holds(const std::vector<Chunk>& all, const std::vector<Chunk>& wanted)
{
    size_t found = 0;
    for (const Chunk& chunk : all)
        found += found < wanted.size() && chunk == wanted[found];
    return found == wanted.size();
}

// Every edit of one layout.
class FaultTest : public PluginTest, public testing::WithParamInterface<Layout>
{
protected:
    // Whether the edit was made.
    bool IsComplete(const Edit& edit)
    {
        return WhatIsWrong(layout, edit, ReadFile(path)).empty() &&
               WhatReadsWrong(plugin, path, layout, edit).empty();
    }

    // Edits with one call that fails, or all from it on; false when there were fewer.
    bool EditWithFault(const Edit& edit, Fault fault, long call)
    {
        File(layout.file);
        (void)report.Take(kError);
        const EditCall apply(plugin, path, edit, &report);
        SystemCalls::Start(fault, call);
        result = apply();
        const SystemCalls::Counts counts = SystemCalls::Stop();
        what = edit.name + (", call " + std::to_string(call) + ", ") + counts.last;
        struck = counts.last;
        error = report.Take(kError);
        isSame = ReadFile(path) == layout.file;
        return counts.struck;
    }

    // What nobody could read before the edit need not be readable in the middle.
    void ExpectAllAudio()
    {
        const auto [chunks, isWhole] = ReadableChunks(ReadFile(path));
        EXPECT_TRUE(Holds(chunks, before.first));
        EXPECT_TRUE(isWhole || !before.second);
    }

    const Layout layout = GetParam();
    const std::string path = dir.Path("a.aiff");
    const std::pair<std::vector<Chunk>, bool> before = ReadableChunks(layout.file);
    int32_t result = 0;
    std::string what, struck, error; // of the last edit
    bool isSame = false;
};

TEST_P(FaultTest, FailingCallLeavesTheFileAsItWasOrEdited)
{
    for (const Edit& edit : AllEdits())
        for (const Fault fault :
             {Fault::Fails, Fault::DiskFull, Fault::Interrupts, Fault::NoMemory})
            for (long call = 1; EditWithFault(edit, fault, call) && !HasFailure(); ++call) {
                SCOPED_TRACE(what);
                if (result == 0)
                    EXPECT_TRUE(isSame && (!error.empty() || fault == Fault::NoMemory));
                else
                    EXPECT_TRUE(IsComplete(edit));
                if (result == 0 && error.find("Error writing file") != std::string::npos)
                    EXPECT_NE(error.find(ReasonOf(fault, struck)), std::string::npos) << error;
                EXPECT_EQ(FilesIn(dir), 1);
            }
}

// Not even what was written can be put back.
TEST_P(FaultTest, SystemThatKeepsFailingLosesNoAudio)
{
    for (const Edit& edit : AllEdits())
        for (long call = 1; EditWithFault(edit, Fault::KeepsFailing, call) && !HasFailure();
             ++call) {
            SCOPED_TRACE(what);
            ExpectAllAudio();
            EXPECT_TRUE(!error.empty() || (result == 1 && IsComplete(edit)));
            if (result == 0 && !isSame)
                EXPECT_NE(error.find("could not be put back"), std::string::npos);
        }
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
    const size_t samples = ReadSamples(File(layout.file)).values.size();
    for (const Edit& edit : AllEdits())
        for (const Fault fault : {Fault::Kills, Fault::KillsInside})
            for (long call = 1; !HasFailure(); ++call) {
                File(layout.file);
                if (!EditAndKill(plugin, path, edit, fault, call))
                    break;
                SCOPED_TRACE(edit.name + (", call " + std::to_string(call)));
                ExpectAllAudio();
                EXPECT_GE(ReadSamples(path).values.size(), samples);
                // The next edit finds a file that it can work with.
                EXPECT_EQ(ApplyEdit(plugin, path, edit, &report), 1);
                ExpectAllAudio();
                if (edit.kind == Edit::Set) {
                    EXPECT_EQ(WhatReadsWrong(plugin, path, layout, edit), "");
                    EXPECT_NO_THROW((void)WalkStrictly(ReadFile(path)));
                }
                for (const auto& entry : std::filesystem::directory_iterator(dir.Path("")))
                    if (entry.path() != path)
                        std::filesystem::remove(entry.path());
            }
}

INSTANTIATE_TEST_SUITE_P(
    Layouts, FaultTest,
    testing::ValuesIn(MakeAll("CS;Cs cut 1;CST;CSt;TCS;PCS;pCS;tCSb;CStB;kCS;CST junk 10;"
                              "CST form 1046 tag hidden;CSM form 0;CST form +1001;CS cut 101;"
                              "PCS cut 600")));

} // namespace
