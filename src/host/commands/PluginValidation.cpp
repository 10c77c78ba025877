// SPDX-License-Identifier: MIT
#include "host/commands/PluginValidation.h"

#include "host/base/Json.h"
#include "host/base/Printable.h"
#include "host/commands/Command.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <fcntl.h>
#include <map>
#include <sys/stat.h>
#include <unistd.h>

namespace aiff::host
{
namespace
{

using validate::Check;
using validate::Findings;

constexpr int kMaxTimeLimit = 86400; // seconds
constexpr std::array<std::string_view, 1> kPluginEndings = {".so"};

std::vector<Check> Chosen(const std::vector<std::string>& names)
{
    std::vector<Check> checks;
    for (const Check& check : validate::AllChecks()) {
        if (names.empty() || std::ranges::find(names, check.name) != names.end())
            checks.push_back(check);
    }
    return checks;
}

std::vector<std::string> CheckNames()
{
    std::vector<std::string> names;
    for (const Check& check : validate::AllChecks())
        names.emplace_back(check.name);
    return names;
}

void ShowText(const Check& check, const Findings& findings)
{
    const bool hasFailed = findings.HasFailed();
    std::printf("%-8s %-17s %s\n", hasFailed ? "FAILED" : findings.Status(), check.name,
                check.promise);
    constexpr char kLine[] = "         %-10s %s\n";
    for (const validate::Fault& fault : findings.Faults()) {
        std::printf(kLine, "seen:", Printable(fault.seen).c_str());
        std::printf(kLine, "required:", Printable(fault.required).c_str());
    }
    for (const std::string& remark : findings.Remarks())
        std::printf("         %s\n", Printable(remark).c_str());
    std::fflush(stdout); // the next check may take a while
}

Json CheckJson(const Check& check, const Findings& findings)
{
    Json entry = {{"name", check.name}, {"promise", check.promise}};
    entry.update(findings.ToJson());
    return entry;
}

// What stands in front of a file that does not exist, or is of another kind than wanted.
Problem PathProblem(const std::string& path, bool isFolder)
{
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0)
        return Problem::FromErrno().About(path);
    if (isFolder && !S_ISDIR(status.st_mode))
        return Problem("is no folder").About(path);
    return {};
}

// The work of the program that MakeCheck starts: no more than the findings are written to
// standard output.
ExitCode AnswerFor(const Check& check, const std::string& plugin, const std::string& workFolder)
{
    const int output = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3);
    PrintJson(validate::MakeCheckHere(check, plugin, workFolder, output).ToJson(),
              JsonLayout::OneLine);
    close(output);
    return kExitDone;
}

Findings NotLoaded()
{
    Findings findings;
    findings.Skip("the plug-in cannot be loaded");
    return findings;
}

} // namespace

void PluginValidation::AddTo(CommandLine command)
{
    command
        .AddOption("--validate", m_plugin, "Check that a decoder plug-in does what hosts rely on")
        .ValueName("PLUGIN")
        .Files(kPluginEndings);
    const auto add = [&](const char* name, auto& value, const char* type, const char* help) {
        const Option option = command.AddOption(name, value, help).ValueName(type);
        m_details.push_back(option);
        return option;
    };
    add("--samples", m_samples, "FOLDER",
        "With --validate: decode copies of these files, too; needed for formats other than AIFF")
        .Folders();
    add("--only", m_only, "CHECK", "With --validate: make this check only (can be repeated)")
        .OneValueEach()
        .Suggest(CheckNames);
    add("--time-limit", m_timeLimit, "SECONDS", "With --validate: for each check (default 60)");
    m_details.push_back(command.AddFlag(
        "--in-process", m_inProcess,
        "With --validate: make the checks in this process, for a debugger; a crash ends it"));
    add("--work-folder", m_workFolder, "FOLDER", "").LeftOutOfHelp();
}

Problem PluginValidation::UsageProblem() const
{
    for (const Option option : m_details) {
        if (m_plugin.empty() && option.IsGiven())
            return option.Name() + " is for use with --validate";
    }
    if (m_timeLimit < 1 || m_timeLimit > kMaxTimeLimit)
        return "--time-limit must be 1 to " + std::to_string(kMaxTimeLimit);
    for (const std::string& name : m_only) {
        if (validate::FindCheck(name) != nullptr)
            continue;
        std::string known;
        for (const std::string& check : CheckNames())
            known += (known.empty() ? "" : ", ") + check;
        return "there is no check '" + name + "', but: " + known;
    }
    Problem problem = m_plugin.empty() ? Problem() : PathProblem(m_plugin, false);
    return problem || m_samples.empty() ? problem : PathProblem(m_samples, true);
}

Findings PluginValidation::Make(const Check& check, const std::string& workFolder) const
{
    if (m_inProcess)
        return validate::MakeCheckHere(check, m_plugin, workFolder, -1);
    return validate::MakeCheck(check, m_plugin, workFolder, std::chrono::seconds(m_timeLimit));
}

ExitCode PluginValidation::Run(bool asJson, bool quiet) const
{
    const std::vector<Check> checks = Chosen(m_only);
    if (!m_workFolder.empty())
        return AnswerFor(checks.front(), m_plugin, m_workFolder);

    const auto folder = validate::WorkFolder::Make(m_samples);
    if (!folder)
        return FailWith(kExitSomeFailed, folder.Why());
    for (const std::string& file : (*folder)->LeftOut())
        SayProblem(Problem("is left out: too large, or one of too many").About(file));
    Json results = Json::array();
    std::map<std::string, int> counts;
    bool canBeLoaded = true;
    for (const Check& check : checks) {
        const Findings findings = canBeLoaded ? Make(check, (*folder)->Path()) : NotLoaded();
        canBeLoaded =
            canBeLoaded && !(check.needs == validate::Needs::File && findings.HasFailed());
        ++counts[findings.Status()];
        if (asJson)
            results.push_back(CheckJson(check, findings));
        else if (!quiet || findings.HasFailed())
            ShowText(check, findings);
    }
    const int failed = counts["failed"];
    if (asJson)
        PrintJson({{"plugin", m_plugin},
                   {"passed", counts["passed"]},
                   {"failed", failed},
                   {"skipped", counts["skipped"]},
                   {"checks", results}},
                  JsonLayout::Indented);
    else if (!quiet)
        std::printf("%s: %d passed, %d failed, %d skipped\n",
                    Counted(static_cast<int64_t>(checks.size()), "check").c_str(), counts["passed"],
                    failed, counts["skipped"]);
    return failed > 0 ? kExitSomeFailed : kExitDone;
}

} // namespace aiff::host
