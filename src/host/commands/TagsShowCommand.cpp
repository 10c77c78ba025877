// SPDX-License-Identifier: MIT
#include "host/base/Json.h"
#include "host/base/Printable.h"
#include "host/commands/TagWork.h"
#include "host/session/TagText.h"

#include <CLI/CLI.hpp>
#include <cstdio>

namespace aiff::host
{
namespace
{

class ShowCommand : public DecoderCommand
{
public:
    CLI::App* AddTo(CLI::App& program) override
    {
        CLI::App* command = program.add_subcommand("show", "Show fields and pictures");
        command->add_option("FILE", m_files, "Files to read")->required();
        command->add_flag("--json", m_json, "Write a JSON array with one object per file");
        AddQuietOption(*command, m_quiet);
        return command;
    }

private:
    ExitCode Work(const codecs::CodecLoader& loader, const Trace& trace) override
    {
        ReportCapture report(trace);
        Json list = Json::array();
        ExitCode code = kExitDone;
        for (const std::string& name : m_files) {
            const Input input(name);
            EditedFile file(loader, report, input, {});
            if (Problem problem = file.Read()) {
                code = FailWith(kExitSomeFailed, problem.About(name));
                list.push_back({{"file", name}, {"error", problem.Text()}});
                continue;
            }
            list.push_back({{"file", name}, {"tags", TagsJson(file.Items())}});
            const bool hides = file.Tags() != nullptr && !file.Tags()->hidden.empty();
            if (!m_json && !m_quiet)
                Show(name, file.Items(), hides);
            if (hides)
                code = Worse(code, ShowHidden(name, file.Tags()->hidden, list.back()));
        }
        if (m_json)
            PrintJson(list, JsonLayout::Indented);
        return code;
    }

    static void Show(const std::string& name, const std::vector<TagItem>& items, bool hides)
    {
        std::printf("%s%s\n", Printable(name).c_str(), items.empty() && !hides ? ": no tags" : "");
        PrintTags(items, 2);
    }

    static ExitCode ShowHidden(const std::string& name, const std::vector<std::string>& hidden,
                               Json& entry)
    {
        std::fflush(stdout); // keeps the lines of a file together
        for (const std::string& text : hidden)
            SayProblem(Problem(text).About(name));
        entry["problem"] = Joined(hidden);
        return kExitDamaged;
    }

    std::vector<std::string> m_files;
    bool m_json = false;
    bool m_quiet = false;
};

} // namespace

std::unique_ptr<Command> MakeTagsShowCommand()
{
    return std::make_unique<ShowCommand>();
}

} // namespace aiff::host
