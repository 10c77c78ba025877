// SPDX-License-Identifier: MIT

// What a plug-in uses of its host's process, and what it leaves alone.

#include "host/base/Printable.h"
#include "host/validate/Bench.h"
#include "host/validate/Checks.h"
#include "support/text/Utf8.h"

#include <algorithm>
#include <cstdio>
#include <fcntl.h>
#include <functional>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace aiff::host::validate
{
namespace
{

constexpr int kOpens = 50;

enum class Ending { Closed, Destroyed };

void UseSample(const Bench& bench, const std::string& path, Ending ending,
               const STNStdReport* report = nullptr)
{
    Instance instance(bench.Functions(), report);
    instance.Get(QV_KEY_DECODES, 0);
    instance.Open(path, kAllFlags);
    instance.DecodeBlock();
    instance.SetPosition(1);
    instance.DecodeBlock();
    if (ending == Ending::Closed)
        instance.Close();
}

// Everything that a host does, with files that are there and one that is not.
void UseAll(Bench& bench, const STNStdReport* report)
{
    Instance instance(bench.Functions(), report);
    for (const wchar_t* key : {QV_KEY_DECODES, QV_KEY_DECODER_DESCRIPTION, L"No Such Key"})
        instance.Get(key, 0);
    const std::string missing = bench.NewPath("missing.aiff");
    instance.Open(missing, kAllFlags);
    instance.Close();
    instance.SetTags(missing, {0, 0, 0, 0});
    instance.DeleteATag(missing, nullptr);
    const std::string garbage = bench.NewPath("garbage.aiff");
    (void)WriteFile(garbage, Bytes(1000));
    instance.Open(garbage, kAllFlags);
    for (const Sample& sample : bench.FewSamples()) {
        UseSample(bench, sample.path, Ending::Closed, report);
        const std::string copy = bench.CopyOf(sample);
        instance.DeleteATag(copy, nullptr);
    }
}

int64_t SizeOf(int descriptor)
{
    struct stat status = {};
    return fstat(descriptor, &status) == 0 ? int64_t{status.st_size} : 0;
}

// A file that receives one output of a report.
class ReportFile
{
public:
    explicit ReportFile(const std::string& path)
        : m_descriptor(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_APPEND, 0600)),
          m_path(path)
    {
    }
    ReportFile(const ReportFile&) = delete;
    ReportFile& operator=(const ReportFile&) = delete;
    ~ReportFile() { close(m_descriptor); }

    void* Handle() const { return reinterpret_cast<void*>(intptr_t{m_descriptor}); }
    bool IsOpen() const { return fcntl(m_descriptor, F_GETFD) >= 0; }
    std::string Text() const
    {
        const Bytes bytes = FileContent(m_path);
        return {bytes.begin(), bytes.end()};
    }

private:
    int m_descriptor;
    std::string m_path;
};

bool IsUtf8(std::string_view text)
{
    uint32_t character = 0;
    while (TakeUtf8(text, Utf8Policy::Strict, character)) {
    }
    return text.empty();
}

void RequireLines(Bench& bench, const std::string& output, const std::string& text)
{
    const auto feeds = std::ranges::count(text, '\n');
    size_t ends = 0;
    for (size_t at = text.find("\r\n"); at != std::string::npos; at = text.find("\r\n", at + 2))
        ++ends;
    bench.findings.Require(IsUtf8(text), output + " are no UTF-8", "UTF-8");
    bench.findings.Require(
        (text.empty() || text.ends_with("\r\n")) && static_cast<size_t>(feeds) == ends,
        output + " end otherwise: " + Printable(text.substr(0, 200)), "lines that end with CR LF");
}

// What grew in each of three rounds leaks; what settles is kept for the next time.
template <class Measure>
std::optional<int64_t> LeastGrowth(Measure measure, const std::function<void()>& round)
{
    round();
    std::optional<int64_t> least;
    for (int i = 0; i < 3; ++i) {
        const int64_t before = measure();
        round();
        const int64_t growth = measure() - before;
        least = std::min(least.value_or(growth), growth);
    }
    return least;
}

} // namespace

void CheckDescriptors(Bench& bench)
{
    const std::string path = bench.Samples().front().path;
    const std::string missing = bench.NewPath("missing.aiff");
    const std::pair<const char*, std::function<void()>> uses[] = {
        {"Open, Close and Destroy", [&] { UseSample(bench, path, Ending::Closed); }},
        {"Open and Destroy", [&] { UseSample(bench, path, Ending::Destroyed); }},
        {"a failed Open and Destroy", [&] { UseSample(bench, missing, Ending::Destroyed); }},
        {"Open twice and Close",
         [&] {
             Instance instance(bench.Functions());
             instance.Open(path, kAllFlags);
             instance.Open(path, kAllFlags);
             instance.Close();
         }},
    };
    for (const auto& [what, use] : uses) {
        use(); // what is opened once and kept is no leak
        const int before = OpenDescriptors();
        for (int i = 0; i < kOpens; ++i)
            use();
        const int more = OpenDescriptors() - before;
        bench.findings.Require(more <= 0,
                               Counted(more, "descriptor") + " left open after 50 times " + what,
                               "as many open as before");
    }
}

void CheckMemory(Bench& bench)
{
    constexpr int64_t kNoticeable = 16; // bytes for each time
    constexpr int64_t kProbe = 100000;
    const std::optional<int64_t> before = HeapInUse();
    const auto probe = std::make_unique<Bytes>(static_cast<size_t>(kProbe));
    if (!before || HeapInUse().value_or(0) - *before < kProbe)
        return bench.findings.Skip("the allocator of this process does not tell what is in use");
    const std::string path = bench.Samples().front().path;
    const std::string missing = bench.NewPath("missing.aiff");
    for (const auto& [what, name, ending] :
         {std::tuple{"opened and closed", path, Ending::Closed},
          std::tuple{"opened and not closed", path, Ending::Destroyed},
          std::tuple{"that cannot be opened", missing, Ending::Closed}}) {
        const auto round = [&, file = name, how = ending] {
            for (int i = 0; i < kOpens; ++i)
                UseSample(bench, file, how);
        };
        const int64_t growth =
            LeastGrowth([] { return HeapInUse().value_or(0); }, round).value_or(0);
        bench.findings.Require(growth < kNoticeable * kOpens,
                               Counted(growth / kOpens, "byte") + " more for each file " + what,
                               "all memory given back with Destroy");
    }
}

void CheckSilence(Bench& bench)
{
    const STNStdReport off = {};
    const STNStdReport invalid = {QV_INVALID_HANDLE, QV_INVALID_HANDLE, QV_INVALID_HANDLE};
    for (const STNStdReport* report : {&off, &invalid, static_cast<const STNStdReport*>(nullptr)})
        UseAll(bench, report);
    std::fflush(nullptr);
    const int* outputs = bench.Setup().standardOutputs;
    for (const auto& [name, descriptor] :
         {std::pair{"standard output", outputs[0]}, std::pair{"standard error", outputs[1]}}) {
        const int64_t size = SizeOf(descriptor);
        std::string text(static_cast<size_t>(std::min<int64_t>(size, 200)), '\0');
        const ssize_t got = pread(descriptor, text.data(), text.size(), 0);
        text.resize(got > 0 ? static_cast<size_t>(got) : 0);
        bench.findings.Require(size == 0,
                               Counted(size, "byte") + " on " + name + ": " + Printable(text),
                               "silence: a host may use it for something else");
    }
}

void CheckReport(Bench& bench)
{
    const ReportFile errors(bench.NewPath("errors")), information(bench.NewPath("information")),
        debug(bench.NewPath("debug")), others(bench.NewPath("others"));
    Guarded<STNStdReport> report, otherReport;
    report->hError = errors.Handle();
    report->hInformation = information.Handle();
    report->hDebug = debug.Handle();
    otherReport->hError = otherReport->hInformation = otherReport->hDebug = others.Handle();
    {
        Instance instance(bench.Functions(), report.Pointer());
        const Instance other(bench.Functions(), otherReport.Pointer());
        report.Fill(0);
        otherReport.Fill(0);
        const int64_t othersBefore = std::ssize(others.Text());
        instance.Open(bench.NewPath("missing.aiff"), kAllFlags);
        instance.Close();
        bench.findings.Require(std::ssize(others.Text()) == othersBefore,
                               "a failure is written to another instance's report",
                               "it is written to the instance's own");
    }
    bench.findings.Require(!errors.Text().empty(), "a failed Open leaves no line of error",
                           "the reason, on the descriptor given as hError");
    RequireLines(bench, "errors", errors.Text());
    RequireLines(bench, "lines of information", information.Text());
    RequireLines(bench, "lines of the trace", debug.Text());
    const std::string reason = errors.Text().substr(0, errors.Text().find('\r'));
    bench.findings.Require(debug.Text().find(reason) != std::string::npos,
                           "the trace has no copy of the error", "copies of all errors");
    bench.findings.Require(errors.IsOpen() && information.IsOpen() && debug.IsOpen() &&
                               others.IsOpen(),
                           "the report's descriptors are closed", "the host closes them");
}

void CheckProcessState(Bench& bench)
{
    UseAll(bench, nullptr);
    const ProcessState after = CurrentState();
    const ProcessState& before = bench.Setup().before;
    for (size_t i = 0; i < std::min(before.size(), after.size()); ++i)
        bench.findings.Require(before[i].second == after[i].second,
                               before[i].first + " is now: " + after[i].second,
                               "unchanged: " + before[i].second);
}

} // namespace aiff::host::validate
