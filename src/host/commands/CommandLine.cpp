// SPDX-License-Identifier: MIT
#include "host/commands/CommandLine.h"

#include <CLI/CLI.hpp>
#include <sstream>

namespace aiff::host
{
namespace
{

// CLI11 would split "[a,b]" as a list; it leaves "./[a,b]" alone.
std::vector<std::string> Arguments(int argc, const char* const* argv)
{
    std::vector<std::string> arguments;
    for (int i = argc; i-- > 1;) { // CLI11 wants them in reverse order
        const std::string argument = argv[i];
        const bool isList = argument.starts_with('[') && argument.ends_with(']');
        arguments.push_back(isList ? "./" + argument : argument);
    }
    return arguments;
}

// What is wrong with the command line, in the words of the user.
std::string WhatIsWrong(const CLI::App& program, const CLI::ParseError& error)
{
    const CLI::App* app = &program;
    std::string command;
    for (; !app->get_subcommands().empty(); command += app->get_name() + " ")
        app = app->get_subcommands().front();
    const bool lacksCommand = app->get_require_subcommand_min() != 0;
    for (const std::string& word : program.remaining(true)) {
        if (word.starts_with('-'))
            return "there is no option '" + word + "' (--help lists them)";
        if (lacksCommand)
            return "there is no command '" + command + word + "' (--help lists them)";
    }
    if (lacksCommand)
        return "a command is missing (--help lists them)";
    return std::string(error.what()) + " (--help explains it)";
}

OptionSummary Summarise(const CLI::Option& option, const ValueTable& values)
{
    OptionSummary summary;
    for (const std::string& name : option.get_snames())
        summary.names.push_back("-" + name);
    for (const std::string& name : option.get_lnames())
        summary.names.push_back("--" + name);
    summary.help = option.get_description();
    summary.takesValue = option.get_items_expected_max() > 0;
    summary.repeats = option.get_expected_max() > 1;
    for (const CLI::Option* excluded : option.get_excludes())
        summary.excludes.push_back(excluded->get_name());
    if (const auto known = values.find(&option); known != values.end())
        summary.values = known->second;
    else if (summary.names.empty())
        summary.values.paths = Values::Paths::Files;
    return summary;
}

CommandSummary Summarise(const CLI::App& app, const ValueTable& values)
{
    CommandSummary summary{app.get_name(), app.get_description(), {}, {}};
    for (const CLI::Option* option : app.get_options())
        if (!option->get_group().empty()) // that of those left out of help
            summary.options.push_back(Summarise(*option, values));
    for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; }))
        summary.commands.push_back(Summarise(*command, values));
    return summary;
}

} // namespace

Option Option::Required() const
{
    m_option->required();
    return *this;
}

Option Option::Needs(Option other) const
{
    m_option->needs(other.m_option);
    return *this;
}

Option Option::Excludes(Option other) const
{
    m_option->excludes(other.m_option);
    return *this;
}

Option Option::OneOf(std::initializer_list<const char*> values) const
{
    const std::vector<std::string> words(values.begin(), values.end());
    m_option->check(CLI::IsMember(words));
    return Suggest([words] { return words; });
}

Option Option::Suggest(std::function<std::vector<std::string>()> values) const
{
    (*m_values)[m_option].words = std::move(values);
    return *this;
}

Option Option::Files(std::span<const std::string_view> endings) const
{
    Values& values = (*m_values)[m_option];
    values.paths = Values::Paths::Files;
    values.endings.assign(endings.begin(), endings.end());
    return *this;
}

Option Option::Folders() const
{
    (*m_values)[m_option].paths = Values::Paths::Folders;
    return *this;
}

Option Option::Between(size_t least, size_t most) const
{
    m_option->check(CLI::Range(least, most));
    return *this;
}

Option Option::AtLeast(int values) const
{
    m_option->expected(values, -1);
    return *this;
}

Option Option::OneValueEach() const
{
    m_option->allow_extra_args(false);
    return *this;
}

Option Option::ValueName(const std::string& name) const
{
    m_option->type_name(name);
    return *this;
}

Option Option::LeftOutOfHelp() const
{
    m_option->group("");
    return *this;
}

bool Option::IsGiven() const
{
    return m_option->count() > 0;
}

std::string Option::Name() const
{
    return m_option->get_name();
}

Option CommandLine::AddOption(const std::string& names, std::string& value,
                              const std::string& help) const
{
    return {m_app->add_option(names, value, help), *m_values};
}

Option CommandLine::AddOption(const std::string& names, std::vector<std::string>& value,
                              const std::string& help) const
{
    return {m_app->add_option(names, value, help), *m_values};
}

Option CommandLine::AddOption(const std::string& names, size_t& value,
                              const std::string& help) const
{
    return {m_app->add_option(names, value, help), *m_values};
}

Option CommandLine::AddOption(const std::string& names, int& value, const std::string& help) const
{
    return {m_app->add_option(names, value, help), *m_values};
}

Option CommandLine::AddFlag(const std::string& names, bool& value, const std::string& help) const
{
    return {m_app->add_flag(names, value, help), *m_values};
}

Option CommandLine::AddFlag(const std::string& names, std::function<void()> whenGiven,
                            const std::string& help) const
{
    return {m_app->add_flag_callback(names, std::move(whenGiven), help), *m_values};
}

CommandLine CommandLine::AddCommand(const std::string& name, const std::string& help) const
{
    return {m_app->add_subcommand(name, help), *m_values};
}

void CommandLine::RequireCommand() const
{
    m_app->require_subcommand(1);
}

void CommandLine::Footer(const std::string& text) const
{
    m_app->footer(text);
}

bool CommandLine::IsGiven() const
{
    return m_app->parsed();
}

Program::Program(const std::string& name, const std::string& help, const std::string& version)
    : m_app(std::make_unique<CLI::App>(help, name))
{
    m_app->set_version_flag("--version", version);
    m_app->fallthrough();
}

Program::~Program() = default;

CommandLine Program::Line()
{
    return {m_app.get(), m_values};
}

CommandSummary Program::Summary() const
{
    return Summarise(*m_app, m_values);
}

Program::Outcome Program::Parse(int argc, const char* const* argv)
{
    using enum Outcome::Kind;
    try {
        m_app->parse(Arguments(argc, argv));
        return {};
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() != 0)
            return {Refuse, WhatIsWrong(*m_app, error)};
        std::ostringstream text;
        m_app->exit(error, text);
        return {ShowText, text.str()};
    }
}

} // namespace aiff::host
