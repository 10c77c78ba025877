#include "host/commands/TagCommands.h"

#include "host/base/ExitCode.h"
#include "host/base/Printable.h"
#include "host/commands/CommandGroup.h"
#include "host/commands/TagArguments.h"
#include "host/session/TagText.h"
#include "support/text/XStr.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>

namespace host
{
namespace
{

using Json = nlohmann::ordered_json;

constexpr char kExamples[] = R"(Examples:
  aiffconv tags show song.aiff
  aiffconv tags set *.aiff "Album=The Album" Year=1971
  aiffconv tags set song.aiff "Artist=One" "Artist=Another" Comment=
  aiffconv tags remove song.aiff Comment "Encoded by"
  aiffconv tags clear *.aiff
  aiffconv tags art set *.aiff cover.jpg
  aiffconv tags art export song.aiff -o pictures/
  aiffconv tags copy from.aiff to.aiff)";

constexpr char kSetRule[] =
    R"(Files come first. An argument is an assignment when it holds a "=" and no
file of that name exists, or when it stands behind --set. A name given several
times gets several values; an empty value removes the field. Fields that are
not named, pictures, and what the tag holds besides stay as they are.)";

constexpr char kRemoveRule[] =
    R"(Files come first: arguments that exist, or that end as audio files do, are
files, the others are names; behind --name stands a name in any case.)";

std::string Joined(const std::vector<std::string>& words)
{
    std::string text;
    for (const std::string& word : words)
        text += (text.empty() ? "" : ", ") + word;
    return text;
}

// "TagVersion" tells which kind of tag it is: there is nothing to set or to remove.
bool LeftOut(const std::string& name)
{
    const bool isInformation = TagItem{name, {}, {}}.IsInformation();
    if (isInformation)
        SayProblem("\"" + name + "\" only informs; it is left out");
    return isInformation;
}

int UsageProblem(const std::string& problem)
{
    SayProblem(problem);
    return kExitUsage;
}

int WriteToEach(const std::vector<std::string>& names, const std::vector<TagItem>& items,
                const std::string& summary, const codecs::CodecLoader& loader,
                ReportCapture& report)
{
    return ForEachTagFile(names, loader, report, [&](TagFile& file, std::string&) {
        if (!file.Write(items))
            return false;
        SayDone(file, summary);
        SayWhatDiffers(file, items, loader);
        return true;
    });
}

class ShowCommand : public DecoderCommand
{
public:
    CLI::App* AddTo(CLI::App& program) override
    {
        CLI::App* command = program.add_subcommand("show", "Show fields and pictures");
        command->add_option("FILE", m_files, "Files")->required();
        command->add_flag("--json", m_json, "Write a JSON array with one object per file");
        return command;
    }

private:
    int Work(const codecs::CodecLoader& loader, const Trace& trace) override
    {
        ReportCapture report(trace);
        Json list = Json::array();
        bool failed = false;
        for (const std::string& name : m_files)
            failed |= !Show(loader, report, Input(name), list);
        if (m_json)
            std::printf("%s\n", list.dump(2, ' ', false, Json::error_handler_t::replace).c_str());
        return failed ? kExitSomeFailed : kExitDone;
    }

    bool Show(const codecs::CodecLoader& loader, ReportCapture& report, const Input& input,
              Json& list) const
    {
        TagFile file(loader, report, input);
        if (!file.Read()) {
            SayProblem(input.Name() + ": " + file.Problem());
            list.push_back({{"file", input.Name()}, {"error", file.Problem()}});
            return false;
        }
        list.push_back({{"file", input.Name()}, {"tags", TagsJson(file.Items())}});
        if (m_json)
            return true;
        std::printf("%s%s\n", Printable(input.Name()).c_str(),
                    file.Items().empty() ? ": no tags" : "");
        PrintTags(file.Items(), 2);
        return true;
    }

    std::vector<std::string> m_files;
    bool m_json = false;
};

class SetCommand : public DecoderCommand
{
public:
    CLI::App* AddTo(CLI::App& program) override
    {
        CLI::App* command = program.add_subcommand("set", "Set fields");
        command->add_option("FILE... NAME=VALUE", m_arguments, "Files, then what to set in them")
            ->required();
        command->add_option("-s,--set", m_assignments, "NAME=VALUE, whatever files there are")
            ->allow_extra_args(false);
        command->footer(kSetRule);
        return command;
    }

private:
    int Work(const codecs::CodecLoader& loader, const Trace& trace) override
    {
        FilesAndRest split;
        std::string problem;
        const auto isFile = [](const std::string& argument) {
            return argument.find('=') == std::string::npos || ExistsAsFile(argument);
        };
        if (!SplitArguments(m_arguments, isFile, "NAME=VALUE", split, problem))
            return UsageProblem(problem);
        split.rest.insert(split.rest.end(), m_assignments.begin(), m_assignments.end());
        std::vector<TagItem> items;
        if (!ReadAssignments(split.rest, items, problem))
            return UsageProblem(problem);
        std::erase_if(items, [](const TagItem& item) { return LeftOut(item.name); });
        if (items.empty())
            return UsageProblem("there is nothing to set (NAME=VALUE)");
        ReportCapture report(trace);
        return WriteToEach(split.files, items, Summary(items), loader, report);
    }

    static std::string Summary(const std::vector<TagItem>& items)
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

    std::vector<std::string> m_arguments;
    std::vector<std::string> m_assignments;
};

class RemoveCommand : public DecoderCommand
{
public:
    CLI::App* AddTo(CLI::App& program) override
    {
        CLI::App* command = program.add_subcommand("remove", "Remove fields");
        command->add_option("FILE... NAME", m_arguments, "Files, then fields to remove")
            ->required();
        command->add_option("-n,--name", m_names, "A field to remove, whatever files there are")
            ->allow_extra_args(false);
        command->footer(kRemoveRule);
        return command;
    }

private:
    int Work(const codecs::CodecLoader& loader, const Trace& trace) override
    {
        FilesAndRest split;
        std::string problem;
        const auto isFile = [&loader](const std::string& argument) {
            const std::wstring extension = FromPathBytes(Input(argument).Extension());
            return ExistsAsFile(argument) || loader.ForExtension(extension) != nullptr;
        };
        if (!SplitArguments(m_arguments, isFile, "names of fields", split, problem))
            return UsageProblem(problem);
        std::vector<std::string>& names = split.rest;
        names.insert(names.end(), m_names.begin(), m_names.end());
        std::erase_if(names, LeftOut);
        if (names.empty() || std::find(names.begin(), names.end(), "") != names.end())
            return UsageProblem("there is no field to remove, or one without a name");
        ReportCapture report(trace);
        return ForEachTagFile(split.files, loader, report,
                              [&](TagFile& file, std::string&) { return Remove(file, names); });
    }

    static bool Remove(TagFile& file, const std::vector<std::string>& names)
    {
        std::vector<std::string> present;
        std::vector<std::string> missing;
        for (const std::string& name : names)
            (FindItem(file.Items(), name) != nullptr ? present : missing).push_back(name);
        if (!present.empty() && !file.Remove(present))
            return false;
        std::string what = present.empty() ? "" : "removed " + Joined(present);
        if (!missing.empty())
            what += (what.empty() ? "has no " : "; has no ") + Joined(missing);
        SayDone(file, what);
        return true;
    }

    std::vector<std::string> m_arguments;
    std::vector<std::string> m_names;
};

class ClearCommand : public DecoderCommand
{
public:
    CLI::App* AddTo(CLI::App& program) override
    {
        CLI::App* command = program.add_subcommand("clear", "Remove all tags");
        command->add_option("FILE", m_files, "Files")->required();
        return command;
    }

private:
    int Work(const codecs::CodecLoader& loader, const Trace& trace) override
    {
        ReportCapture report(trace);
        return ForEachTagFile(m_files, loader, report, [](TagFile& file, std::string&) {
            if (!file.RemoveAll())
                return false;
            SayDone(file, "removed all tags");
            return true;
        });
    }

    std::vector<std::string> m_files;
};

class CopyCommand : public DecoderCommand
{
public:
    CLI::App* AddTo(CLI::App& program) override
    {
        CLI::App* command =
            program.add_subcommand("copy", "Copy fields and pictures from one file to another");
        command->add_option("FROM", m_from, "The file to read")->required();
        command->add_option("TO", m_to, "Files to change")->required();
        command->footer("Fields of TO that FROM does not have stay, and pictures of other types.");
        return command;
    }

private:
    int Work(const codecs::CodecLoader& loader, const Trace& trace) override
    {
        ReportCapture sourceReport(trace);
        ReportCapture report(trace);
        const Input input(m_from);
        TagFile source(loader, sourceReport, input);
        if (!source.Read()) {
            SayProblem(m_from + ": " + source.Problem());
            return kExitSomeFailed;
        }
        std::vector<TagItem> items = source.Items();
        std::erase_if(items, [](const TagItem& item) { return item.IsInformation(); });
        if (items.empty()) {
            SayProblem(m_from + ": has no tags to copy");
            return kExitSomeFailed;
        }
        return WriteToEach(m_to, items, Summary(items), loader, report);
    }

    std::string Summary(const std::vector<TagItem>& items) const
    {
        const auto pictures = std::count_if(items.begin(), items.end(),
                                            [](const TagItem& item) { return item.IsPicture(); });
        const auto fields = std::ssize(items) - pictures;
        return "copied " + std::to_string(fields) + (fields == 1 ? " field" : " fields") + " and " +
               std::to_string(pictures) + (pictures == 1 ? " picture" : " pictures") + " from " +
               m_from;
    }

    std::string m_from;
    std::vector<std::string> m_to;
};

} // namespace

std::unique_ptr<Command> MakeTagsShowCommand()
{
    return std::make_unique<ShowCommand>();
}

std::unique_ptr<Command> MakeTagsSetCommand()
{
    return std::make_unique<SetCommand>();
}

std::unique_ptr<Command> MakeTagsRemoveCommand()
{
    return std::make_unique<RemoveCommand>();
}

std::unique_ptr<Command> MakeTagsClearCommand()
{
    return std::make_unique<ClearCommand>();
}

std::unique_ptr<Command> MakeTagsCopyCommand()
{
    return std::make_unique<CopyCommand>();
}

std::unique_ptr<Command> MakeTagsCommand()
{
    return std::make_unique<CommandGroup>(
        "tags", "Show and change tags", kExamples,
        CommandGroup::Makers{MakeTagsShowCommand, MakeTagsSetCommand, MakeTagsRemoveCommand,
                             MakeTagsClearCommand, MakeTagsArtCommand, MakeTagsCopyCommand});
}

} // namespace host
