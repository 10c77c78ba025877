// SPDX-License-Identifier: MIT
#include "host/commands/Command.h"
#include "host/commands/Completion.h"

#include <cstdio>

namespace aiff::host
{
namespace
{

constexpr char kExamples[] = R"(Examples:
  source <(aiffconv completion bash)           in ~/.bashrc
  aiffconv completion zsh >_aiffconv           in a folder of $fpath
  aiffconv completion fish | source            in ~/.config/fish/config.fish

Packages of aiffconv install these scripts; what they offer comes from the program.)";

class CompletionCommand : public Command
{
public:
    CommandLine AddTo(CommandLine program) override
    {
        const CommandLine command =
            program.AddCommand("completion", "Print a script that completes commands in a shell");
        command.AddOption("SHELL", m_shell, "bash, zsh or fish")
            .Required()
            .OneOf({"bash", "zsh", "fish"});
        command.Footer(kExamples);
        return command;
    }

    ExitCode Run(const GlobalOptions&) override
    {
        std::fputs(CompletionScript(m_shell).c_str(), stdout);
        return kExitDone;
    }

private:
    std::string m_shell;
};

} // namespace

std::unique_ptr<Command> MakeCompletionCommand()
{
    return std::make_unique<CompletionCommand>();
}

} // namespace aiff::host
