// SPDX-License-Identifier: MIT
#include "host/author/SoundSum.h"
#include "host/base/Printable.h"
#include "host/batch/FindInputs.h"
#include "host/batch/InOrder.h"
#include "host/batch/InputState.h"
#include "host/batch/Jobs.h"
#include "host/commands/BatchArguments.h"
#include "host/commands/Command.h"
#include "host/commands/FetchArguments.h"
#include "host/commands/Md5List.h"

#include <cstdio>
#include <fstream>
#include <iostream>
#include <iterator>
#include <unistd.h>

namespace aiff::host
{
namespace
{

constexpr char kExamples[] = R"(Examples:
  aiffconv md5 library >sums
  aiffconv md5 --check sums
  aiffconv md5 song.aiff song.wav song.flac    the same sum, if the sound is the same

The sum is that of the samples alone, as FLAC files carry it: no edit of tags changes it.
A file that is damaged or cut off has none (exit code 4). With --check, the output and
the exit code are those of md5sum.)";

// As it is for a file or another program.
void PrintLine(const std::string& line)
{
    static const bool onTerminal = isatty(STDOUT_FILENO) != 0;
    const std::string text = (onTerminal ? Printable(line) : line) + "\n";
    std::fwrite(text.data(), 1, text.size(), stdout);
}

Result<std::string> ReadList(const std::string& name)
{
    if (name == "-")
        return std::string(std::istreambuf_iterator<char>(std::cin), {});
    std::ifstream file(name, std::ios::binary);
    std::string text(std::istreambuf_iterator<char>(file), {});
    if (!file.is_open() || file.bad())
        return Problem::FromErrno().About(name);
    return text;
}

// "1 line is", "2 lines are"
void Warn(size_t count, const char* one, const char* several)
{
    if (count != 0)
        SayProblem("WARNING: " + std::to_string(count) + (count == 1 ? one : several));
}

const char* Verdict(bool isRead, bool isRight)
{
    return isRight ? ": OK" : isRead ? ": FAILED" : ": FAILED open or read";
}

class Md5Command : public Command
{
public:
    CommandLine AddTo(CommandLine program) override;
    ExitCode Run(const GlobalOptions& global) override;

private:
    using Show = std::function<void(size_t index, const FileSum& sum)>;

    ExitCode PrintSums() const;
    ExitCode CheckList(const std::string& name) const;
    void ForEach(const std::vector<InputName>& names, const Show& show) const;
    FileSum SumOf(const InputName& name) const;

    std::vector<std::string> m_inputs;
    Fetch m_fetch = Fetch::WhenNeeded;
    size_t m_jobs = 0;
    bool m_check = false;
    bool m_quiet = false;
};

CommandLine Md5Command::AddTo(CommandLine program)
{
    const CommandLine command = program.AddCommand("md5", "Print or check MD5 sums of the sound");
    command.AddOption("IN", m_inputs, kInputs).Required().Files(kSoundEndings);
    const Option check = command.AddFlag(
        "-c,--check", m_check, "Each IN is a list of sums: compare the files in it with them");
    command.AddFlag("-q,--quiet", m_quiet, "With --check: do not list what is as it should be")
        .Needs(check);
    AddJobsOption(command, m_jobs, "one per processor");
    AddFetchOptions(command, m_fetch);
    command.Footer(kExamples);
    return command;
}

ExitCode Md5Command::Run(const GlobalOptions&)
{
    if (!m_check)
        return PrintSums();
    ExitCode code = kExitDone;
    for (const std::string& name : m_inputs)
        code = Worse(code, CheckList(name));
    return code;
}

ExitCode Md5Command::PrintSums() const
{
    const std::vector<InputName> names = FindInputs(m_inputs, kSoundEndings);
    ExitCode code = kExitDone;
    ForEach(names, [&](size_t index, const FileSum& sum) {
        const std::string& name = names[index].name;
        if (sum.problem)
            SayProblem(sum.problem.About(name));
        else
            PrintLine(LineWithName(sum.hex + "  ", name));
        if (sum.problem)
            code = Worse(code, sum.isDamaged ? kExitDamaged : kExitSomeFailed);
    });
    return code;
}

ExitCode Md5Command::CheckList(const std::string& name) const
{
    const Result<std::string> text = ReadList(name);
    if (!text)
        return FailWith(kExitSomeFailed, text.Why());
    const SumList list = ReadSumList(*text);
    if (list.sums.empty())
        return FailWith(kExitSomeFailed,
                        Problem("no properly formatted checksum lines found").About(name));
    std::vector<InputName> names;
    for (const ListedSum& sum : list.sums)
        names.push_back({sum.name});
    size_t unreadable = 0;
    size_t different = 0;
    ForEach(names, [&](size_t index, const FileSum& sum) {
        const auto& [hex, file] = list.sums[index];
        const bool isRead = !sum.problem || sum.isDamaged;
        const bool isRight = sum.hex == hex;
        if (sum.problem)
            SayProblem(sum.problem.About(file));
        unreadable += isRead ? 0 : 1;
        different += isRead && !isRight ? 1 : 0;
        const bool needsEscape = file.find('\n') != std::string::npos;
        if (!isRight || !m_quiet)
            PrintLine((needsEscape ? LineWithName("", file) : file) + Verdict(isRead, isRight));
    });
    std::fflush(stdout);
    Warn(list.malformed, " line is improperly formatted", " lines are improperly formatted");
    Warn(unreadable, " listed file could not be read", " listed files could not be read");
    Warn(different, " computed checksum did NOT match", " computed checksums did NOT match");
    return unreadable + different == 0 ? kExitDone : kExitSomeFailed;
}

// Works on several files at a time; shows one by one, in the order of the names.
void Md5Command::ForEach(const std::vector<InputName>& names, const Show& show) const
{
    InOrder lines(names.size());
    const size_t workers = WithinDescriptorLimit(WorkerCount(names.size(), m_jobs));
    RunJobs(names.size(), workers, [&](size_t index, size_t) {
        lines.Done(index, [&show, index, sum = SumOf(names[index])] { show(index, sum); });
    });
}

FileSum Md5Command::SumOf(const InputName& name) const
{
    if (name.problem)
        return {{}, name.problem};
    const Input input(name.name);
    const Result<InputAtHand> source = BringFileToHand(input, m_fetch, [](int64_t) {});
    if (Problem problem = source ? source->input.FileProblem() : source.Why())
        return {{}, problem};
    if (source->incomplete)
        return {{}, source->incomplete, true};
    const InputState before(input);
    FileSum sum = SumOfFile(source->input.Path(), SampleWidth::Bits);
    if (!sum.problem && InputState(input).HasChangedSince(before))
        sum = {{}, "was changed by another program while it was read", true};
    return sum;
}

} // namespace

std::unique_ptr<Command> MakeMd5Command()
{
    return std::make_unique<Md5Command>();
}

} // namespace aiff::host
