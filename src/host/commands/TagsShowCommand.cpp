#include "host/base/Json.h"
#include "host/base/Printable.h"
#include "host/commands/Command.h"
#include "host/session/TagFile.h"
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
            TagFile file(loader, report, input);
            if (Problem problem = file.Read()) {
                code = FailWith(kExitSomeFailed, problem.About(name));
                list.push_back({{"file", name}, {"error", problem.Text()}});
                continue;
            }
            list.push_back({{"file", name}, {"tags", TagsJson(file.Items())}});
            if (!m_json)
                Show(file);
        }
        if (m_json)
            PrintJson(list, JsonLayout::Indented);
        return code;
    }

    static void Show(const TagFile& file)
    {
        std::printf("%s%s\n", Printable(file.Source().Name()).c_str(),
                    file.Items().empty() ? ": no tags" : "");
        PrintTags(file.Items(), 2);
    }

    std::vector<std::string> m_files;
    bool m_json = false;
};

} // namespace

std::unique_ptr<Command> MakeTagsShowCommand()
{
    return std::make_unique<ShowCommand>();
}

} // namespace aiff::host
