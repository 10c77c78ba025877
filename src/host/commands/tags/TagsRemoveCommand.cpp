// SPDX-License-Identifier: MIT
#include "host/author/tags/KnownFields.h"
#include "host/batch/FindInputs.h"
#include "host/commands/tags/TagArguments.h"
#include "host/commands/tags/TagWork.h"
#include "support/text/XStr.h"

#include <algorithm>

namespace aiff::host
{
namespace
{

constexpr char kRemoveRule[] =
    R"(Files come first: an argument that exists, or has the extension of an audio file,
is a file; the others are names of fields. What follows --name is always a name.)";

Problem RemoveFields(EditedFile& file, const std::vector<std::string>& names)
{
    std::vector<std::string> present;
    std::vector<std::string> missing;
    std::vector<TagItem> emptied; // by writing, as decoders cannot
    for (const std::string& name : names) {
        const std::string field = FieldName(name);
        const KnownField* const known = FindKnownField(name);
        const TagItem* const number =
            known == nullptr ? nullptr : FindItem(file.Items(), known->totalOf);
        const bool isThere = FindItem(file.Items(), field) != nullptr;
        if ((number != nullptr && number->value.find('/') != std::string::npos) ||
            (isThere && !FrameOfField(field, kNewestVersion).empty()))
            emptied.push_back({field, "", {}});
        else if (isThere)
            present.push_back(field);
        else // the file may have a field of its own with this name
            (FindItem(file.Items(), name) != nullptr ? present : missing).push_back(name);
    }
    const Result<std::vector<TagItem>> numbers = JoinTotals(emptied, file.Items());
    if (Problem problem = emptied.empty() ? Problem() : file.Write(*numbers))
        return problem;
    if (Problem problem = present.empty() ? Problem() : file.Remove(present))
        return problem;
    for (const TagItem& item : emptied)
        present.push_back(item.name);
    std::string what = present.empty() ? "" : "removed " + Joined(present);
    if (!missing.empty())
        what += (what.empty() ? "has no " : "; has no ") + Joined(missing);
    file.Say(what);
    return {};
}

class RemoveCommand : public DecoderCommand
{
public:
    CommandLine AddTo(CommandLine program) override
    {
        const CommandLine command = program.AddCommand("remove", "Remove fields");
        command
            .AddOption("FILE... NAME", m_arguments, "Files and folders, then the fields to remove")
            .Required()
            .Files(kAiffEndings)
            .Suggest([] { return FieldNames(); });
        command
            .AddOption("-n,--name", m_names,
                       "A field to remove, even if there is a file of that name")
            .OneValueEach()
            .Suggest([] { return FieldNames(); });
        AddEditOptions(command, m_options);
        command.Footer(kRemoveRule);
        return command;
    }

private:
    ExitCode Work(const codecs::CodecLoader& loader, const Trace& trace) override
    {
        const auto isFile = [&loader](const std::string& argument) {
            const std::wstring extension = FromPathBytes(Input(argument).Extension());
            return Exists(argument) || loader.ForExtension(extension) != nullptr;
        };
        Result<FilesAndRest> split = SplitArguments(m_arguments, isFile, "names of fields");
        if (!split)
            return FailWith(kExitUsage, split.Why());
        std::vector<std::string>& names = split->rest;
        names.insert(names.end(), m_names.begin(), m_names.end());
        std::erase_if(names, SkipInformation);
        if (names.empty() || std::ranges::find(names, "") != names.end())
            return FailWith(kExitUsage, "there is no field to remove, or one without a name");
        return ForEachTagFile(split->files, loader, trace, m_options,
                              [&](EditedFile& file) { return RemoveFields(file, names); });
    }

    std::vector<std::string> m_arguments;
    std::vector<std::string> m_names;
    EditOptions m_options;
};

} // namespace

std::unique_ptr<Command> MakeTagsRemoveCommand()
{
    return std::make_unique<RemoveCommand>();
}

} // namespace aiff::host
