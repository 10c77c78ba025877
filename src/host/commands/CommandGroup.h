#pragma once

#include "host/commands/Command.h"

#include <string>
#include <utility>
#include <vector>

namespace host
{

// A command that is nothing but commands below it.
class CommandGroup : public Command
{
public:
    using Makers = std::vector<std::unique_ptr<Command> (*)()>;

    CommandGroup(std::string name, std::string help, std::string footer, Makers makers);

    CLI::App* AddTo(CLI::App& program) override;
    int Run(const GlobalOptions& global) override;

private:
    std::string m_name;
    std::string m_help;
    std::string m_footer;
    Makers m_makers;
    std::vector<std::pair<CLI::App*, std::unique_ptr<Command>>> m_commands;
};

} // namespace host
