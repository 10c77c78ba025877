// SPDX-License-Identifier: MIT

// Sets of subcommands.
#pragma once

#include "host/commands/Command.h"

#include <string>
#include <utility>
#include <vector>

namespace aiff::host
{

// Subcommands of which the user names exactly one.
class CommandSet
{
public:
    using Makers = std::vector<std::unique_ptr<Command> (*)()>;

    // Makes the commands and adds them to `parent`.
    void AddTo(CommandLine parent, const Makers& makers);
    // Runs the one that was named.
    ExitCode Run(const GlobalOptions& global);

private:
    std::vector<std::pair<CommandLine, std::unique_ptr<Command>>> m_commands;
};

// A command that only holds subcommands, as "tags" does.
class CommandGroup : public Command
{
public:
    CommandGroup(std::string name, std::string help, std::string footer, CommandSet::Makers makers);

    CommandLine AddTo(CommandLine program) override;
    ExitCode Run(const GlobalOptions& global) override;

private:
    std::string m_name;
    std::string m_help;
    std::string m_footer;
    CommandSet::Makers m_makers;
    CommandSet m_commands;
};

} // namespace aiff::host
