#include "host/commands/CommandGroup.h"

#include "host/base/ExitCode.h"

#include <CLI/CLI.hpp>

namespace host
{

CommandGroup::CommandGroup(std::string name, std::string help, std::string footer, Makers makers)
    : m_name(std::move(name)), m_help(std::move(help)), m_footer(std::move(footer)),
      m_makers(std::move(makers))
{
}

CLI::App* CommandGroup::AddTo(CLI::App& program)
{
    CLI::App* group = program.add_subcommand(m_name, m_help);
    group->require_subcommand(1);
    group->footer(m_footer);
    for (const auto make : m_makers) {
        std::unique_ptr<Command> command = make();
        CLI::App* entry = command->AddTo(*group);
        m_commands.emplace_back(entry, std::move(command));
    }
    return group;
}

int CommandGroup::Run(const GlobalOptions& global)
{
    for (const auto& [entry, command] : m_commands) {
        if (entry->parsed())
            return command->Run(global);
    }
    return kExitUsage;
}

} // namespace host
