// SPDX-License-Identifier: MIT
#include "host/base/Printable.h"
#include "host/batch/FindInputs.h"
#include "host/commands/FetchArguments.h"
#include "host/commands/tags/TagWork.h"

#include <algorithm>

namespace aiff::host
{
namespace
{

constexpr char kCopyRule[] =
    R"(Between AIFF files the tag itself is copied, with all that it holds. TO keeps what
FROM does not have: fields, pictures of other types, and frames that are not shown.)";

class CopyCommand : public DecoderCommand
{
public:
    CommandLine AddTo(CommandLine program) override
    {
        const CommandLine command =
            program.AddCommand("copy", "Copy the tag of one file to others");
        command.AddOption("FROM", m_from, "A file, a URL, or - for standard input")
            .Required()
            .Files(kAiffEndings);
        command.AddOption("TO", m_to, "Files and folders to change").Required().Files(kAiffEndings);
        AddFetchOptions(command, m_fetch);
        AddEditOptions(command, m_options);
        command.Footer(kCopyRule);
        return command;
    }

private:
    ExitCode Work(const codecs::CodecLoader& loader, const Trace& trace) override
    {
        ReportCapture report(trace);
        const Result<InputAtHand> input = BringToHand(
            loader, report, Input(m_from), Wanted::SoundAndTags, m_fetch, [](int64_t) {});
        if (!input)
            return FailWith(kExitSomeFailed, input.Why().About(m_from));
        EditedFile source(loader, report, input->input, m_options);
        if (Problem problem = input->incomplete ? input->incomplete : source.Read())
            return FailWith(kExitSomeFailed, problem.About(m_from));
        SayHowItCame(*input, m_from, m_options.quiet);
        const FileTags* const tags = source.Tags();
        std::vector<TagItem> items = source.Items();
        std::erase_if(items, [](const TagItem& item) { return item.IsInformation(); });
        SayHidden(tags);
        if (tags == nullptr ? items.empty() : tags->id3v2.empty())
            return FailWith(kExitSomeFailed, Problem("has no tags to copy").About(m_from));
        return ForEachTagFile(m_to, loader, trace, m_options, [&](EditedFile& file) {
            Problem problem = file.Copy(items, tags);
            if (!problem) {
                file.Say(Summary(items));
                file.SayCopyDifferences(tags);
            }
            return problem;
        });
    }

    void SayHidden(const FileTags* tags) const
    {
        if (tags == nullptr)
            return;
        for (const std::string& text : tags->hidden)
            SayProblem(Problem(text).About(m_from));
    }

    std::string Summary(const std::vector<TagItem>& items) const
    {
        const auto pictures = std::ranges::count_if(items, &TagItem::IsPicture);
        const std::string what = items.empty() ? "frames that are not shown"
                                               : Counted(std::ssize(items) - pictures, "field") +
                                                     " and " + Counted(pictures, "picture");
        return "copied " + what + " from " + m_from;
    }

    std::string m_from;
    std::vector<std::string> m_to;
    Fetch m_fetch = Fetch::WhenNeeded;
    EditOptions m_options;
};

} // namespace

std::unique_ptr<Command> MakeTagsCopyCommand()
{
    return std::make_unique<CopyCommand>();
}

} // namespace aiff::host
