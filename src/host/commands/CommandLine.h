// SPDX-License-Identifier: MIT

// What a command line may hold. Only CommandLine.cpp sees the library that parses it: its
// headers take longer to compile than all others of the program together.
#pragma once

#include <cstddef>
#include <functional>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

namespace CLI
{
class App;
class Option;
} // namespace CLI

namespace aiff::host
{

// One option, flag or argument. A handle: copies stand for the same option, which lives as long
// as its program.
class Option
{
public:
    explicit Option(CLI::Option* option) : m_option(option) {}

    Option Required() const;
    Option Needs(Option other) const;
    Option Excludes(Option other) const;
    // The values that it takes.
    Option OneOf(std::initializer_list<const char*> values) const;
    Option Between(size_t least, size_t most) const;
    Option AtLeast(int values) const;
    // Several values come by naming the option several times.
    Option OneValueEach() const;
    // What the help calls its value.
    Option ValueName(const std::string& name) const;
    Option LeftOutOfHelp() const;

    bool IsGiven() const;
    std::string Name() const;

private:
    CLI::Option* m_option;
};

// The options and subcommands of one command, or of the program. A handle, as Option is.
// What parsing finds is stored in `value`, which must live until then. Options are named
// "-s,--long", arguments by a word.
class CommandLine
{
public:
    explicit CommandLine(CLI::App* app) : m_app(app) {}

    Option AddOption(const std::string& names, std::string& value, const std::string& help) const;
    Option AddOption(const std::string& names, std::vector<std::string>& value,
                     const std::string& help) const;
    Option AddOption(const std::string& names, size_t& value, const std::string& help) const;
    Option AddOption(const std::string& names, int& value, const std::string& help) const;
    Option AddFlag(const std::string& names, bool& value, const std::string& help) const;
    Option AddFlag(const std::string& names, std::function<void()> whenGiven,
                   const std::string& help) const;

    CommandLine AddCommand(const std::string& name, const std::string& help) const;
    // The user must name exactly one of the subcommands.
    void RequireCommand() const;
    // A text after the list of options in the help.
    void Footer(const std::string& text) const;

    // Whether the user named this command.
    bool IsGiven() const;

private:
    CLI::App* m_app;
};

// The command line of a program.
class Program
{
public:
    Program(const std::string& name, const std::string& help, const std::string& version);
    ~Program();

    CommandLine Line() const;

    struct Outcome {
        enum class Kind { Run, ShowText, Refuse } kind = Kind::Run;
        std::string text; // the help or version to show, or what is wrong, for the user
    };
    // Reads the arguments as main() gets them.
    Outcome Parse(int argc, const char* const* argv);

private:
    std::unique_ptr<CLI::App> m_app;
};

} // namespace aiff::host
