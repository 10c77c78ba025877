// SPDX-License-Identifier: MIT

// A system that fails, and a process that ends, at every step of an edit.

#include "edits/EditHarness.h"
#include "support/Sndfile.h"
#include "support/SystemCalls.h"

#include <cerrno>
#include <cstring>

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

// Every edit of one layout.
class FaultTest : public PluginTest, public testing::WithParamInterface<Layout>
{
protected:
    // The file that an edit makes where nothing goes wrong.
    Bytes After(const Edit& edit)
    {
        EXPECT_EQ(ApplyEdit(plugin, File(layout.file), edit), 1);
        return ReadFile(path);
    }

    // Removes what was left next to the file.
    void OnlyFile() const
    {
        for (const auto& entry : std::filesystem::directory_iterator(dir.Path("")))
            if (entry.path() != path)
                std::filesystem::remove(entry.path());
    }

    const Layout layout = GetParam();
    const std::string path = dir.Path("a.aiff");
};

TEST_P(FaultTest, FailingCallLeavesTheFileAsItWasOrEdited)
{
    using enum Fault;
    int points = 0;
    for (const Edit& edit : AllEdits())
        for (const bool isDurable : {true, false}) {
            const Bytes after = After(edit);
            report.traces = edit.kind == Edit::DeleteAll; // failures indent the trace ever more
            for (const Fault fault : {Fails, KeepsFailing, DiskFull, Interrupts, NoMemory})
                for (long call = 1; (isDurable || fault <= KeepsFailing) && !HasFailure(); ++call) {
                    File(layout.file);
                    (void)report.Take(kError), (void)report.Take(kInformation);
                    const EditCall apply(plugin, path, edit, &report, isDurable);
                    SystemCalls::Start(fault, call);
                    const int32_t result = apply();
                    const SystemCalls::Counts counts = SystemCalls::Stop();
                    if (!counts.struck)
                        break;
                    SCOPED_TRACE(edit.name + (", call " + std::to_string(call) + ", ") +
                                 counts.last);
                    const Bytes file = ReadFile(path);
                    const std::string error = report.Take(kError);
                    const bool isClosed = counts.last == "close"s && !isDurable;
                    const State state = StateOf(file, layout.file, after);
                    EXPECT_NE(state, kBad);
                    if (result == 1)
                        EXPECT_TRUE(state == kNew || file == after);
                    else
                        EXPECT_TRUE(file == layout.file || isClosed || fault == KeepsFailing);
                    // Whatever is not as it should be is reported.
                    if (result == 1 && state == kNew && file != after)
                        EXPECT_NE(report.Take(kInformation).find("next edit"), std::string::npos);
                    if (result == 0)
                        EXPECT_TRUE(!error.empty() || fault == NoMemory);
                    if (result == 0 && file != layout.file)
                        EXPECT_NE(error.find("could not be put back"), std::string::npos);
                    if (result == 0 && error.find("Error writing file") != std::string::npos &&
                        fault != KeepsFailing)
                        EXPECT_NE(error.find(ReasonOf(fault, counts.last)), std::string::npos)
                            << error;
                    EXPECT_TRUE(FilesIn(dir) == 1 || fault == KeepsFailing);
                    OnlyFile();
                    ++points;
                }
        }
    RecordProperty("faults", points);
}

TEST_P(FaultTest, KilledProcessLeavesTheOldOrTheNewTag)
{
    const size_t samples = ReadSamples(File(layout.file)).values.size();
    int points = 0;
    for (const Edit& edit : AllEdits()) {
        const Bytes after = After(edit);
        for (const Fault fault : {Fault::Kills, Fault::KillsInside})
            for (long call = 1; !HasFailure(); ++call) {
                File(layout.file);
                const int wasShorter = InChild([&, call = call] {
                    const EditCall apply(plugin, path, edit);
                    SystemCalls::Start(fault, call);
                    (void)apply();
                    return SystemCalls::Stop().struck ? 0 : 1;
                });
                if (wasShorter == 1)
                    break;
                SCOPED_TRACE(edit.name + (", call " + std::to_string(call)));
                EXPECT_NE(StateOf(ReadFile(path), layout.file, after), kBad);
                EXPECT_GE(ReadSamples(path).values.size(), samples);
                // The next edit finds a file that it can work with.
                EXPECT_EQ(ApplyEdit(plugin, path, edit, &report), 1);
                EXPECT_EQ(StateOf(ReadFile(path), layout.file, after),
                          after == layout.file ? kOld : kNew);
                OnlyFile();
                ++points;
            }
    }
    RecordProperty("kills", points);
}

INSTANTIATE_TEST_SUITE_P(
    Layouts, FaultTest,
    testing::ValuesIn(MakeAll("CS;Cs cut 1;CST;CSt;TCS;PCS;pCS;tCSb;CStB;kCS;CST junk 10;"
                              "CST form 1046 tag hidden;CSM form 0;CST form +1001;CS cut 101;"
                              "PCS cut 600")));
// The header of its tag is far enough from the first to be read by itself.
INSTANTIATE_TEST_SUITE_P(FarTag, FaultTest, testing::Values(Make("CS_T", 9000)));

} // namespace
