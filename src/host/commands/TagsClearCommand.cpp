#include "host/commands/TagWork.h"

#include <CLI/CLI.hpp>

namespace aiff::host
{
namespace
{

class ClearCommand : public DecoderCommand
{
public:
    CLI::App* AddTo(CLI::App& program) override
    {
        CLI::App* command = program.add_subcommand("clear", "Remove all tags");
        command->add_option("FILE", m_files, "Files to change")->required();
        return command;
    }

private:
    ExitCode Work(const codecs::CodecLoader& loader, const Trace& trace) override
    {
        return ForEachTagFile(m_files, loader, trace, [](TagFile& file) {
            Problem problem = file.RemoveAll();
            if (!problem)
                SayDone(file, "removed all tags");
            return problem;
        });
    }

    std::vector<std::string> m_files;
};

} // namespace

std::unique_ptr<Command> MakeTagsClearCommand()
{
    return std::make_unique<ClearCommand>();
}

} // namespace aiff::host
