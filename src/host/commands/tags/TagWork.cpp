// SPDX-License-Identifier: MIT
#include "host/commands/tags/TagWork.h"

#include "host/author/tags/CopyTags.h"
#include "host/author/tags/ReadFileTags.h"
#include "host/base/Printable.h"
#include "host/batch/FindInputs.h"
#include "host/batch/Jobs.h"
#include "host/commands/BatchArguments.h"
#include "host/commands/tags/TagArguments.h"
#include "support/text/XStr.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <map>
#include <mutex>
#include <sys/stat.h>
#include <unordered_map>

namespace aiff::host
{
namespace
{

// Shows the lines of files in the order of their indexes, each as soon as those before it are
// shown.
class LinesInOrder
{
public:
    LinesInOrder(size_t files, bool quiet) : m_waiting(files), m_quiet(quiet) {}

    void Take(size_t index, std::vector<FileLine> lines)
    {
        const std::lock_guard lock(m_access);
        m_waiting[index] = std::move(lines);
        for (; m_next < m_waiting.size() && m_waiting[m_next]; ++m_next) {
            for (const FileLine& line : *m_waiting[m_next])
                Show(line);
            m_waiting[m_next]->clear();
        }
    }

private:
    void Show(const FileLine& line) const
    {
        if (line.kind == FileLine::Kind::Problem)
            SayProblem(line.text);
        else if (!m_quiet)
            std::printf("%s\n", Printable(line.text).c_str());
    }

    std::mutex m_access;
    std::vector<std::optional<std::vector<FileLine>>> m_waiting;
    size_t m_next = 0;
    bool m_quiet;
};

// The indexes of the names, those of one file together: it is changed by one worker, one time
// after the other.
std::vector<std::vector<size_t>> GroupByFile(const std::vector<InputName>& names)
{
    std::vector<std::vector<size_t>> groups;
    std::map<std::pair<dev_t, ino_t>, size_t> groupOf;
    for (size_t i = 0; i < names.size(); ++i) {
        struct stat status;
        size_t group = groups.size();
        if (stat(names[i].name.c_str(), &status) == 0)
            group = groupOf.try_emplace({status.st_dev, status.st_ino}, group).first->second;
        if (group == groups.size())
            groups.emplace_back();
        groups[group].push_back(i);
    }
    return groups;
}

Problem WorkOn(EditedFile& file, const Input& input, const Problem& folderProblem,
               const std::function<Problem(EditedFile&)>& work)
{
    if (folderProblem)
        return folderProblem;
    if (!input.IsFile())
        return std::string(input.IsUrl() ? "is a URL" : "is standard input") +
               ", and only the tags of files can be changed";
    try {
        const Problem problem = file.Read();
        return problem ? problem : work(file);
    } catch (const std::exception& error) {
        return Problem(error.what()).About("failed");
    }
}

} // namespace

void AddEditOptions(CommandLine command, EditOptions& options)
{
    AddJobsOption(command, options.jobs, std::to_string(options.jobs));
    command.AddFlag("--force", options.force,
                    "Cut off bytes after the last chunk, such as an ID3v1 tag (otherwise such a "
                    "file is left as it is)");
    command.AddFlag("--no-sync", options.noSync,
                    "Do not wait until the disk holds the change: faster with many files, but a "
                    "loss of power may then damage a tag");
    AddQuietOption(command, options.quiet);
}

void AddVersionOption(CommandLine command, EditOptions& options)
{
    command.AddFlag(
        "--id3v2.4", options.wantsV24,
        "Write the tag as ID3v2.4, which keeps dates and several values whole (otherwise "
        "new tags are ID3v2.3, and others keep their version)");
}

EditedFile::EditedFile(const codecs::CodecLoader& loader, ReportCapture& report, const Input& input,
                       const EditOptions& options)
    : m_loader(loader), m_input(input), m_options(options),
      m_file(loader, report, input,
             options.noSync ? TagFile::Durability::Fast : TagFile::Durability::Durable)
{
}

Problem EditedFile::Read()
{
    if (Problem problem = m_file.Read())
        return problem;
    m_tags = ReadFileTags(m_input);
    return {};
}

const std::vector<TagItem>& EditedFile::Items() const
{
    return m_tags ? m_tags->items : m_file.Items();
}

template <class Change>
Problem EditedFile::Checked(Change change)
{
    const std::string cutOff = m_tags ? m_tags->cutOff : "";
    if (!cutOff.empty() && !m_options.force)
        return "ends with " + cutOff +
               " after the AIFF data, which an edit would cut off; nothing is changed (--force "
               "cuts it off)";
    Problem problem = change();
    if (!problem && !cutOff.empty()) {
        SayProblem("cut off " + cutOff + " after the AIFF data");
        m_tags->cutOff.clear();
    }
    for (const std::string& note : problem ? std::vector<std::string>() : m_file.Notes())
        SayProblem(note);
    return problem;
}

Problem EditedFile::Write(const std::vector<TagItem>& items)
{
    if (m_tags)
        return Write(PlanEdit(items, *m_tags, m_options.wantsV24));
    m_expected = items;
    return m_options.wantsV24 ? "is no AIFF file, whose tags alone can become ID3v2.4"
                              : m_file.Write(items);
}

Problem EditedFile::Write(EditPlan plan)
{
    m_expected = std::move(plan.expected);
    const Problem problem = Checked([&] {
        if (plan.suitsDecoder)
            return m_file.Write(plan.edit.items);
        return m_file.Change([&](const STNStdReport& report) {
            return EditTags(plan.edit, m_input.Path(), Flushing(), report);
        });
    });
    for (const std::string& note : problem ? std::vector<std::string>() : plan.notes)
        SayProblem(note);
    return problem;
}

aiff::Durability EditedFile::Flushing() const
{
    return m_options.noSync ? aiff::Durability::Unflushed : aiff::Durability::Flushed;
}

Problem EditedFile::Remove(const std::vector<std::string>& names)
{
    return Checked([&] { return m_file.Remove(names); });
}

Problem EditedFile::RemoveAll()
{
    return Checked([&] { return m_file.RemoveAll(); });
}

Problem EditedFile::Copy(const std::vector<TagItem>& items, const FileTags* tags)
{
    if (tags == nullptr || !m_tags)
        return Write(items);
    return Checked([&] {
        return m_file.Change([&](const STNStdReport& report) {
            return CopyTags(*tags, m_input.Path(), Flushing(), report);
        });
    });
}

void EditedFile::SayCopyDifferences(const FileTags* tags)
{
    if (tags == nullptr || !m_tags)
        return SayWhatDiffers();
    const std::optional<FileTags> after = ReadFileTags(m_input);
    if (!after)
        return;
    for (const std::string& text : CopyDifferences(*tags, *m_tags, *after))
        SayProblem(text);
}

void EditedFile::AddLine(FileLine::Kind kind, const std::string& text)
{
    m_lines.push_back({kind, m_input.Name() + ": " + text});
}

namespace
{

std::string ValuesText(const TagItem& wanted, const TagItem& found)
{
    std::vector<std::string> values = found.Values();
    for (std::string& value : values)
        value = "\"" + value + "\"";
    const bool isSplit =
        values.size() > wanted.Values().size() && wanted.value.find('/') != std::string::npos;
    return Joined(values) +
           (isSplit ? ", as \"/\" separates values in ID3v2.3 (--id3v2.4 keeps it)" : "");
}

} // namespace

void EditedFile::SayWhatDiffers()
{
    if (std::ranges::all_of(m_expected, &TagItem::IsPicture))
        return;
    ReportCapture silent{Trace{}};
    EditedFile changed(m_loader, silent, m_input, m_options);
    if (changed.Read())
        return;
    std::unordered_map<std::wstring, const TagItem*> first; // by the name without case
    for (const TagItem& item : changed.Items())
        first.emplace(FoldCase(FromUtf8(item.name)), &item);
    for (const TagItem& item : m_expected) {
        if (item.IsPicture())
            continue;
        const auto found = first.find(FoldCase(FromUtf8(item.name)));
        const std::string name = "\"" + item.name + "\"";
        if (found == first.end() && !item.value.empty())
            SayProblem(name + " does not read back under this name");
        else if (found != first.end() && found->second->value != item.value)
            SayProblem(name + " reads back as " + ValuesText(item, *found->second));
    }
}

ExitCode ForEachTagFile(const std::vector<std::string>& files, const codecs::CodecLoader& loader,
                        const Trace& trace, const EditOptions& options,
                        const std::function<Problem(EditedFile&)>& work)
{
    const std::vector<InputName> names = FindInputs(files, kAiffEndings);
    const std::vector<std::vector<size_t>> groups = GroupByFile(names);
    // A trace shows one file at a time, so that its lines do not mix.
    const size_t workers =
        WithinDescriptorLimit(WorkerCount(groups.size(), trace.IsOn() ? 1 : options.jobs));
    LinesInOrder lines(names.size(), options.quiet);
    std::atomic<bool> failed = false;
    RunJobs(groups.size(), workers, [&](size_t group, size_t) {
        ReportCapture report(trace);
        for (const size_t index : groups[group]) {
            const auto& [name, below, folderProblem] = names[index];
            const Input input(name);
            EditedFile file(loader, report, input, options);
            if (const Problem problem = WorkOn(file, input, folderProblem, work)) {
                failed = true;
                file.SayProblem(problem);
            }
            lines.Take(index, file.TakeLines());
        }
    });
    return failed ? kExitSomeFailed : kExitDone;
}

ExitCode WriteToEach(const std::vector<std::string>& names, const std::vector<TagItem>& items,
                     const std::string& summary, const codecs::CodecLoader& loader,
                     const Trace& trace, const EditOptions& options)
{
    return ForEachTagFile(names, loader, trace, options, [&](EditedFile& file) {
        const Result<std::vector<TagItem>> joined = JoinTotals(items, file.Items());
        Problem problem = joined ? file.Write(*joined) : joined.Why();
        if (!problem) {
            file.Say(summary);
            file.SayWhatDiffers();
        }
        return problem;
    });
}

std::string Joined(const std::vector<std::string>& words)
{
    std::string text;
    for (const std::string& word : words)
        text += (text.empty() ? "" : ", ") + word;
    return text;
}

bool SkipInformation(const std::string& name)
{
    const bool isInformation = TagItem{name, {}, {}}.IsInformation();
    if (isInformation)
        SayProblem("\"" + name + "\" cannot be changed; skipping it");
    return isInformation;
}

} // namespace aiff::host
