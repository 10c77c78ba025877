// SPDX-License-Identifier: MIT
#include "host/author/check/FileCheck.h"
#include "host/base/Json.h"
#include "host/base/Printable.h"
#include "host/batch/FindInputs.h"
#include "host/commands/Command.h"
#include "host/commands/FetchArguments.h"

#include <cstdio>

namespace aiff::host
{
namespace
{

constexpr char kExamples[] = R"(Examples:
  aiffconv check song.aiff
  aiffconv check -q *.aiff                     only files with irregularities
  aiffconv check -q library                    of a folder, with those in it
  aiffconv check *.aiff --json | jq -r 'select(.status != "clean").file'

Exit codes: 0 if all files are clean, 4 if some are irregular, 1 if some cannot be read
as AIFF.)";

const char* StatusName(const FileFindings& findings)
{
    if (!findings.IsReadable())
        return "unreadable";
    return findings.IsClean() ? "clean" : "irregular";
}

Json DetailJson(const Irregularity& found)
{
    const char* const command = CommandOf(found.mending);
    return {{"kind", RuleOf(found.kind).name},
            {"text", found.text},
            {"meaning", RuleOf(found.kind).meaning},
            {"mendedBy", command == nullptr ? Json() : Json(command)}};
}

class CheckCommand : public Command
{
public:
    CommandLine AddTo(CommandLine program) override;
    ExitCode Run(const GlobalOptions& global) override;

private:
    FileFindings Check(const InputName& name) const;
    void Show(const std::string& name, const FileFindings& findings) const;

    std::vector<std::string> m_inputs;
    Fetch m_fetch = Fetch::WhenNeeded;
    bool m_json = false;
    bool m_quiet = false;
};

CommandLine CheckCommand::AddTo(CommandLine program)
{
    const CommandLine command = program.AddCommand("check", "Find irregularities in AIFF files");
    command.AddOption("IN", m_inputs, kInputs).Required().Files(kAiffEndings);
    AddFetchOptions(command, m_fetch);
    command.AddFlag("--json", m_json, "Write one JSON object per input, one per line");
    command.AddFlag("-q,--quiet", m_quiet, "Do not list clean files");
    command.Footer(kExamples);
    return command;
}

ExitCode CheckCommand::Run(const GlobalOptions&)
{
    ExitCode code = kExitDone;
    for (const InputName& found : FindInputs(m_inputs, kAiffEndings)) {
        const std::string& name = found.name;
        const FileFindings findings = Check(found);
        if (!findings.IsClean())
            code = Worse(code, findings.IsReadable() ? kExitDamaged : kExitSomeFailed);
        if (!m_quiet || !findings.IsClean())
            Show(name, findings);
    }
    return code;
}

FileFindings CheckCommand::Check(const InputName& name) const
{
    if (name.problem)
        return {name.problem, {}};
    const Input input(name.name);
    const Result<InputAtHand> source = BringFileToHand(input, m_fetch, [](int64_t) {});
    const Problem problem = source ? source->input.FileProblem() : source.Why();
    if (problem)
        return {problem, {}};
    SayHowItCame(*source, input.Name(), m_quiet);
    FileFindings findings = CheckFile(source->input.Path());
    if (source->incomplete)
        findings.irregular.insert(findings.irregular.begin(), {IrregularityKind::IncompleteTransfer,
                                                               source->incomplete.Text()});
    return findings;
}

void CheckCommand::Show(const std::string& name, const FileFindings& findings) const
{
    if (m_json) {
        Json texts = Json::array();
        Json details = Json::array();
        for (const Irregularity& found : findings.irregular) {
            texts.push_back(found.text);
            details.push_back(DetailJson(found));
        }
        const Json line = {
            {"file", name},
            {"status", StatusName(findings)},
            {"findings", std::move(texts)},
            {"details", std::move(details)},
            {"problem", findings.IsReadable() ? Json() : Json(findings.problem.Text())}};
        PrintJson(line, JsonLayout::OneLine);
        return;
    }
    if (!findings.IsReadable())
        SayProblem(findings.problem.About(name));
    else
        std::printf("%s: %s\n", Printable(name).c_str(), StatusName(findings));
    for (const Irregularity& found : findings.irregular)
        std::printf("  %s\n      %s %s\n", Printable(found.text).c_str(),
                    RuleOf(found.kind).meaning, Advice(found.mending));
}

} // namespace

std::unique_ptr<Command> MakeCheckCommand()
{
    return std::make_unique<CheckCommand>();
}

} // namespace aiff::host
