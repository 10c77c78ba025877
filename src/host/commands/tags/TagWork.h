// SPDX-License-Identifier: MIT

// What the commands that change tags have in common.
#pragma once

#include "host/author/edits/PlanEdit.h"
#include "host/commands/Command.h"
#include "host/session/FileTags.h"
#include "host/session/TagFile.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace aiff::host
{

struct EditOptions {
    // Files to work on at a time. Most of the time passes in waiting for the disk, which serves
    // many files at once.
    size_t jobs = 16;
    bool force = false;  // cut off what lies after the last chunk
    bool noSync = false; // do not wait for the disk
    bool quiet = false;
    bool wantsV24 = false; // write the tag as ID3v2.4
};

// Adds them to a command. They must outlive the parsing.
void AddEditOptions(CommandLine command, EditOptions& options);
// Adds --id3v2.4, for commands that make tags.
void AddVersionOption(CommandLine command, EditOptions& options);

// A line about a file.
struct FileLine {
    enum class Kind { Done, Problem };
    Kind kind;
    std::string text;
};

// One file at work. What it says is shown when its turn comes.
class EditedFile
{
public:
    // All but the options must outlive the object.
    EditedFile(const codecs::CodecLoader& loader, ReportCapture& report, const Input& input,
               const EditOptions& options);

    // The first call.
    Problem Read();

    const std::string& Name() const { return m_input.Name(); }
    // As in the file; without characters beyond U+FFFF where only the decoder knows its format.
    const std::vector<TagItem>& Items() const;
    // Null when only the decoder knows the file's format.
    const FileTags* Tags() const { return m_tags ? &*m_tags : nullptr; }

    // Changes, as TagFile makes them; what a decoder cannot write of an AIFF file is written
    // without one. They refuse a file that would be cut off.
    Problem Write(const std::vector<TagItem>& items);
    Problem Write(EditPlan plan);
    Problem Remove(const std::vector<std::string>& names);
    Problem RemoveAll();
    // The tags that another file has: `items`, and `tags` where that is not null.
    Problem Copy(const std::vector<TagItem>& items, const FileTags* tags);

    // What was done to the file.
    void Say(const std::string& what) { AddLine(FileLine::Kind::Done, what); }
    void SayProblem(const Problem& problem) { AddLine(FileLine::Kind::Problem, problem.Text()); }
    // Reads the file again and says which items are not what the last Write was to make them: some
    // values are stored in another form.
    void SayWhatDiffers();
    // The same after Copy, of all that the copied tags and the file's own said.
    void SayCopyDifferences(const FileTags* tags);

    std::vector<FileLine> TakeLines() { return std::move(m_lines); }

private:
    aiff::Durability Flushing() const;
    void AddLine(FileLine::Kind kind, const std::string& text);
    template <class Change>
    Problem Checked(Change change);

    const codecs::CodecLoader& m_loader;
    const Input& m_input;
    EditOptions m_options;
    TagFile m_file;
    std::optional<FileTags> m_tags;
    std::vector<TagItem> m_expected; // of the last Write
    std::vector<FileLine> m_lines;
};

// Reads the tags of each file, in folders too, and does `work` with them, on several files at a
// time. A failure does not keep the other files from being worked on. Lines come in the order of
// the files.
ExitCode ForEachTagFile(const std::vector<std::string>& files, const codecs::CodecLoader& loader,
                        const Trace& trace, const EditOptions& options,
                        const std::function<Problem(EditedFile&)>& work);

// Writes `items` to each file.
//
// summary  what was done to a file, such as "set Title"
ExitCode WriteToEach(const std::vector<std::string>& names, const std::vector<TagItem>& items,
                     const std::string& summary, const codecs::CodecLoader& loader,
                     const Trace& trace, const EditOptions& options);

// "Title, Artist"
std::string Joined(const std::vector<std::string>& words);

// Whether a name only informs about a tag, as "TagVersion" does, and so can be neither set
// nor removed; says that it is skipped.
bool SkipInformation(const std::string& name);

} // namespace aiff::host
