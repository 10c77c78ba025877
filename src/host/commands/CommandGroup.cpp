// SPDX-License-Identifier: MIT
#include "host/commands/CommandGroup.h"

namespace aiff::host
{

void CommandSet::AddTo(CommandLine parent, const Makers& makers)
{
    parent.RequireCommand();
    for (const auto make : makers) {
        std::unique_ptr<Command> command = make();
        const CommandLine entry = command->AddTo(parent);
        m_commands.emplace_back(entry, std::move(command));
    }
}

ExitCode CommandSet::Run(const GlobalOptions& global)
{
    for (const auto& [entry, command] : m_commands) {
        if (entry.IsGiven())
            return command->Run(global);
    }
    return kExitUsage;
}

CommandGroup::CommandGroup(std::string name, std::string help, std::string footer,
                           CommandSet::Makers makers)
    : m_name(std::move(name)), m_help(std::move(help)), m_footer(std::move(footer)),
      m_makers(std::move(makers))
{
}

CommandLine CommandGroup::AddTo(CommandLine program)
{
    const CommandLine group = program.AddCommand(m_name, m_help);
    group.Footer(m_footer);
    m_commands.AddTo(group, m_makers);
    return group;
}

ExitCode CommandGroup::Run(const GlobalOptions& global)
{
    return m_commands.Run(global);
}

} // namespace aiff::host
