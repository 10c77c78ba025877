#include "host/commands/TagWork.h"

#include <CLI/CLI.hpp>
#include <algorithm>

namespace aiff::host
{
namespace
{

std::string Counted(std::ptrdiff_t count, const std::string& noun)
{
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

class CopyCommand : public DecoderCommand
{
public:
    CLI::App* AddTo(CLI::App& program) override
    {
        CLI::App* command =
            program.add_subcommand("copy", "Copy fields and pictures from one file to others");
        command->add_option("FROM", m_from, "The file to read")->required();
        command->add_option("TO", m_to, "Files to change")->required();
        command->footer("TO keeps the fields, and the pictures of other types, that FROM does not "
                        "have.");
        return command;
    }

private:
    ExitCode Work(const codecs::CodecLoader& loader, const Trace& trace) override
    {
        ReportCapture report(trace);
        const Input input(m_from);
        TagFile source(loader, report, input);
        if (Problem problem = source.Read())
            return FailWith(kExitSomeFailed, problem.About(m_from));
        std::vector<TagItem> items = source.Items();
        std::erase_if(items, [](const TagItem& item) { return item.IsInformation(); });
        if (items.empty())
            return FailWith(kExitSomeFailed, Problem("has no tags to copy").About(m_from));
        const auto pictures = std::ranges::count_if(items, &TagItem::IsPicture);
        const std::string summary = "copied " + Counted(std::ssize(items) - pictures, "field") +
                                    " and " + Counted(pictures, "picture") + " from " + m_from;
        return WriteToEach(m_to, items, summary, loader, trace);
    }

    std::string m_from;
    std::vector<std::string> m_to;
};

} // namespace

std::unique_ptr<Command> MakeTagsCopyCommand()
{
    return std::make_unique<CopyCommand>();
}

} // namespace aiff::host
