// SPDX-License-Identifier: MIT
#include "host/batch/FindInputs.h"
#include "host/commands/tags/TagWork.h"

namespace aiff::host
{
namespace
{

class ClearCommand : public DecoderCommand
{
public:
    CommandLine AddTo(CommandLine program) override
    {
        const CommandLine command = program.AddCommand("clear", "Remove all tags");
        command.AddOption("FILE", m_files, "Files and folders to change")
            .Required()
            .Files(kAiffEndings);
        AddEditOptions(command, m_options);
        return command;
    }

private:
    ExitCode Work(const codecs::CodecLoader& loader, const Trace& trace) override
    {
        return ForEachTagFile(m_files, loader, trace, m_options, Clear);
    }

    // Tags after the end of the form go with any edit of it, so where there is no other tag, an
    // empty one is made first.
    static Problem Clear(EditedFile& file)
    {
        const FileTags* const tags = file.Tags();
        const bool hasNone = tags != nullptr && tags->chunks == 0;
        const bool hasOthers = tags != nullptr && !tags->hidden.empty();
        if (Problem problem = hasNone && hasOthers ? file.Write({{"Title", "", {}}}) : Problem())
            return problem;
        if (Problem problem = hasNone && !hasOthers ? Problem() : file.RemoveAll())
            return problem;
        file.Say("removed all tags");
        return {};
    }

    std::vector<std::string> m_files;
    EditOptions m_options;
};

} // namespace

std::unique_ptr<Command> MakeTagsClearCommand()
{
    return std::make_unique<ClearCommand>();
}

} // namespace aiff::host
