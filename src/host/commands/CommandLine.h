// SPDX-License-Identifier: MIT

// What a command line may hold. Only CommandLine.cpp sees the library that parses it: its
// headers take longer to compile than all others of the program together.
#pragma once

#include <cstddef>
#include <functional>
#include <initializer_list>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace CLI
{
class App;
class Option;
} // namespace CLI

namespace aiff::host
{

// What a person may type as a value, as far as it is known: for completion in shells.
struct Values {
    enum class Paths { None, Files, Folders } paths = Paths::None;
    std::vector<std::string> endings = {}; // of the files, with their dots; empty: any
    // Makes words; one that ends in "=" is followed by something.
    std::function<std::vector<std::string>()> words = {};
};
using ValueTable = std::map<const CLI::Option*, Values>;

// One option, flag or argument. A handle: copies stand for the same option, which lives as long
// as its program.
class Option
{
public:
    Option(CLI::Option* option, ValueTable& values) : m_option(option), m_values(&values) {}

    Option Required() const;
    Option Needs(Option other) const;
    Option Excludes(Option other) const;
    // The values that it takes.
    Option OneOf(std::initializer_list<const char*> values) const;
    // Some of the values that it takes, of which there are others.
    Option Suggest(std::function<std::vector<std::string>()> values) const;
    // It takes paths: of files, mostly with one of the endings, or of folders.
    Option Files(std::span<const std::string_view> endings) const;
    Option Folders() const;
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
    ValueTable* m_values;
};

// The options and subcommands of one command, or of the program. A handle, as Option is.
// What parsing finds is stored in `value`, which must live until then. Options are named
// "-s,--long", arguments by a word.
class CommandLine
{
public:
    CommandLine(CLI::App* app, ValueTable& values) : m_app(app), m_values(&values) {}

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
    ValueTable* m_values;
};

// What the help tells of an option, flag or argument.
struct OptionSummary {
    std::vector<std::string> names; // with their hyphens; none: an argument
    std::string help;
    bool takesValue = false;
    bool repeats = false;              // it may be given several times
    std::vector<std::string> excludes; // names of options that cannot be given beside it
    Values values;
};

// The same of a command.
struct CommandSummary {
    std::string name;
    std::string help;
    std::vector<OptionSummary> options;
    std::vector<CommandSummary> commands;
};

// The command line of a program.
class Program
{
public:
    Program(const std::string& name, const std::string& help, const std::string& version);
    ~Program();

    CommandLine Line();
    CommandSummary Summary() const;

    struct Outcome {
        enum class Kind { Run, ShowText, Refuse } kind = Kind::Run;
        std::string text; // the help or version to show, or what is wrong, for the user
    };
    // Reads the arguments as main() gets them.
    Outcome Parse(int argc, const char* const* argv);

private:
    std::unique_ptr<CLI::App> m_app;
    ValueTable m_values;
};

} // namespace aiff::host
