// SPDX-License-Identifier: MIT
#include "host/author/edits/TagsFromJson.h"
#include "host/base/Printable.h"
#include "host/batch/FindInputs.h"
#include "host/commands/tags/TagArguments.h"
#include "host/commands/tags/TagWork.h"

#include <array>
#include <fstream>
#include <iostream>
#include <sys/stat.h>

namespace aiff::host
{
namespace
{

constexpr std::array<std::string_view, 1> kJsonEndings = {".json"};

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

// A stream of any kind.
Result<Json> ReadJson(const std::string& path)
{
    std::ifstream file;
    struct stat status;
    if (path != "-" && stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode))
        return Problem("is a folder");
    if (path != "-")
        file.open(path, std::ios::binary);
    if (!(path == "-" ? std::cin : file))
        return Problem::FromErrno();
    Json json = Json::parse(path == "-" ? std::cin : file, nullptr, false);
    if (json.is_discarded())
        return Problem("is not valid JSON");
    return json;
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
            .Required()
            .Files(kAiffEndings)
            .Suggest([] { return FieldNames("="); });
        const Option assignments =
            command
                .AddOption("-s,--set", m_assignments,
                           "NAME=VALUE, even if there is a file of that name")
                .OneValueEach()
                .Suggest([] { return FieldNames("="); });
        command
            .AddOption("--from-json", m_jsonFile,
                       "Set what a JSON file (-: standard input) says: that of \"tags show "
                       "--json\", or an object of names and values")
            .Files(kJsonEndings)
            .Excludes(assignments);
        AddVersionOption(command, m_options);
        AddEditOptions(command, m_options);
        command.Footer(kSetRule);
        return command;
    }

private:
    ExitCode Work(const codecs::CodecLoader& loader, const Trace& trace) override
    {
        if (!m_jsonFile.empty())
            return SetFromJson(loader, trace);
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

    ExitCode SetFromJson(const codecs::CodecLoader& loader, const Trace& trace) const
    {
        const Result<Json> json = ReadJson(m_jsonFile);
        if (!json)
            return FailWith(kExitUsage, json.Why().About(m_jsonFile));
        const JsonFiles objects(*json);
        if (json->is_object() && !json->contains("tags"))
            for (const auto& [name, value] : json->items())
                SayOwnField(name);
        return ForEachTagFile(m_arguments, loader, trace, m_options,
                              [&](EditedFile& file) { return SetFromObject(file, objects); });
    }

    Problem SetFromObject(EditedFile& file, const JsonFiles& objects) const
    {
        if (file.Tags() == nullptr)
            return "is no AIFF file, whose tags alone can be set from JSON";
        const Result<const Json*> object = objects.Find(file.Name());
        if (!object)
            return object.Why();
        Result<EditPlan> plan = PlanFromJson(**object, *file.Tags(), m_options.wantsV24);
        if (!plan)
            return plan.Why();
        if (plan->edit.items.empty() && plan->edit.frames.empty()) {
            for (const std::string& note : plan->notes)
                file.SayProblem(note);
            file.Say("gets nothing from " + m_jsonFile);
            return {};
        }
        const std::string what = Counted(std::ssize(plan->edit.items), "field") + " and " +
                                 Counted(std::ssize(plan->edit.frames), "frame");
        if (Problem problem = file.Write(std::move(*plan)))
            return problem;
        file.Say("set " + what + " from " + m_jsonFile);
        file.SayWhatDiffers();
        return {};
    }

    std::vector<std::string> m_arguments;
    std::vector<std::string> m_assignments;
    std::string m_jsonFile;
    EditOptions m_options;
};

} // namespace

std::unique_ptr<Command> MakeTagsSetCommand()
{
    return std::make_unique<SetCommand>();
}

} // namespace aiff::host
