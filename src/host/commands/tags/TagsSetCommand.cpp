// SPDX-License-Identifier: MIT
#include "host/commands/tags/TagArguments.h"
#include "host/commands/tags/TagWork.h"

namespace aiff::host
{
namespace
{

constexpr char kSetRule[] =
    R"(Files come first. An argument is an assignment if it contains a "=" and no file
has that name, or if it follows --set. A name given several times gets several
values; an empty value removes the field. Everything else in the tag, including
pictures and fields that are not named, stays as it is.)";

std::string Summary(const std::vector<TagItem>& items)
{
    std::vector<std::string> set;
    std::vector<std::string> removed;
    for (const TagItem& item : items)
        (item.value.empty() ? removed : set).push_back(item.name);
    std::string text = set.empty() ? "" : "set " + Joined(set);
    if (!removed.empty())
        text += (text.empty() ? "removed " : "; removed ") + Joined(removed);
    return text;
}

class SetCommand : public DecoderCommand
{
public:
    CommandLine AddTo(CommandLine program) override
    {
        const CommandLine command = program.AddCommand("set", "Set fields");
        command
            .AddOption("FILE... NAME=VALUE", m_arguments,
                       "Files and folders, then the fields to set in them")
            .Required();
        command
            .AddOption("-s,--set", m_assignments,
                       "NAME=VALUE, even if there is a file of that name")
            .OneValueEach();
        AddVersionOption(command, m_options);
        AddEditOptions(command, m_options);
        command.Footer(kSetRule);
        return command;
    }

private:
    ExitCode Work(const codecs::CodecLoader& loader, const Trace& trace) override
    {
        const auto isFile = [](const std::string& argument) {
            return argument.find('=') == std::string::npos || Exists(argument);
        };
        Result<FilesAndRest> split = SplitArguments(m_arguments, isFile, "NAME=VALUE");
        if (!split)
            return FailWith(kExitUsage, split.Why());
        split->rest.insert(split->rest.end(), m_assignments.begin(), m_assignments.end());
        Result<std::vector<TagItem>> items = ReadAssignments(split->rest);
        if (!items)
            return FailWith(kExitUsage, items.Why());
        std::erase_if(*items, [](const TagItem& item) { return SkipInformation(item.name); });
        if (const TagItem* year = FindItem(*items, "Year");
            year != nullptr && !year->value.empty() && !IsDate(year->value))
            return FailWith(kExitUsage, "\"" + year->value +
                                            "\" is no date (YYYY, YYYY-MM, YYYY-MM-DD or "
                                            "YYYY-MM-DDTHH:MM)");
        if (items->empty())
            return FailWith(kExitUsage, "there is nothing to set (NAME=VALUE)");
        return WriteToEach(split->files, *items, Summary(*items), loader, trace, m_options);
    }

    std::vector<std::string> m_arguments;
    std::vector<std::string> m_assignments;
    EditOptions m_options;
};

} // namespace

std::unique_ptr<Command> MakeTagsSetCommand()
{
    return std::make_unique<SetCommand>();
}

} // namespace aiff::host
