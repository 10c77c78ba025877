// SPDX-License-Identifier: MIT
#include "host/commands/Completion.h"

#include <CompletionScripts.h> // made in the build folder
#include <algorithm>
#include <set>

namespace aiff::host
{
namespace
{

// Goes through the words before the one that is typed, as the parser does.
class Position
{
public:
    explicit Position(const CommandSummary& program) : m_commands{&program} {}

    void Pass(const std::string& word);
    Candidates At(const std::string& word) const;

private:
    const CommandSummary& Command() const { return *m_commands.back(); }
    const OptionSummary* Find(const std::string& name) const;
    void PassShort(const std::string& word);
    void Use(const OptionSummary* option, bool hasValue);
    const OptionSummary* Argument() const;
    bool MayFollow(const OptionSummary& option) const;
    Candidates OptionNames() const;

    std::vector<const CommandSummary*> m_commands; // from the program on
    const OptionSummary* m_open = nullptr;         // whose value comes next
    std::set<const OptionSummary*> m_given;
    size_t m_arguments = 0;
    bool m_onlyArguments = false; // after "--"
};

Candidates Of(const Values& values, const std::string& before)
{
    Candidates candidates{{}, values.paths, values.endings};
    if (values.words)
        for (const std::string& word : values.words())
            candidates.words.push_back({before + word, {}});
    return candidates;
}

// Options of the program may follow a command, too.
const OptionSummary* Position::Find(const std::string& name) const
{
    for (const CommandSummary* command : m_commands)
        for (const OptionSummary& option : command->options)
            if (std::ranges::find(option.names, name) != option.names.end())
                return &option;
    return nullptr;
}

void Position::Use(const OptionSummary* option, bool hasValue)
{
    if (option == nullptr)
        return;
    m_given.insert(option);
    m_open = option->takesValue && !hasValue ? option : nullptr;
}

// Such as "-qj4" and "-qo".
void Position::PassShort(const std::string& word)
{
    for (size_t i = 1; i < word.size(); ++i) {
        const OptionSummary* option = Find({'-', word[i]});
        const bool takesRest = option != nullptr && option->takesValue;
        Use(option, i + 1 < word.size());
        if (takesRest)
            return;
    }
}

void Position::Pass(const std::string& word)
{
    const bool isValue = m_open != nullptr;
    m_open = nullptr;
    if (isValue)
        return;
    if (m_onlyArguments || !word.starts_with('-') || word == "-") {
        const auto& commands = Command().commands;
        const auto command = std::ranges::find(commands, word, &CommandSummary::name);
        if (!m_onlyArguments && command != commands.end())
            m_commands.push_back(&*command);
        else
            ++m_arguments;
    } else if (word == "--") {
        m_onlyArguments = true;
    } else if (word.starts_with("--")) {
        const size_t equals = word.find('=');
        Use(Find(word.substr(0, equals)), equals != std::string::npos);
    } else {
        PassShort(word);
    }
}

// The argument that comes next; null when there is no more.
const OptionSummary* Position::Argument() const
{
    size_t passed = 0;
    for (const OptionSummary& option : Command().options)
        if (option.names.empty() && (option.repeats || passed++ == m_arguments))
            return &option;
    return nullptr;
}

bool Position::MayFollow(const OptionSummary& option) const
{
    const auto isGiven = [this](const std::string& name) { return m_given.contains(Find(name)); };
    return (option.repeats || !m_given.contains(&option)) &&
           std::ranges::none_of(option.excludes, isGiven);
}

Candidates Position::OptionNames() const
{
    Candidates candidates;
    std::set<std::string> names;
    for (auto command = m_commands.rbegin(); command != m_commands.rend(); ++command)
        for (const OptionSummary& option : (*command)->options)
            for (const std::string& name : option.names)
                if (MayFollow(option) && names.insert(name).second)
                    candidates.words.push_back({name, option.help});
    return candidates;
}

Candidates Position::At(const std::string& word) const
{
    if (m_open != nullptr)
        return Of(m_open->values, "");
    const size_t equals = word.starts_with("--") ? word.find('=') : std::string::npos;
    if (!m_onlyArguments && equals != std::string::npos) {
        const OptionSummary* option = Find(word.substr(0, equals));
        return option == nullptr ? Candidates() : Of(option->values, word.substr(0, equals + 1));
    }
    if (!m_onlyArguments && word.starts_with('-'))
        return OptionNames();
    const OptionSummary* argument = Argument();
    Candidates candidates = argument == nullptr ? Candidates() : Of(argument->values, "");
    if (!m_onlyArguments)
        for (const CommandSummary& command : Command().commands)
            candidates.words.push_back({command.name, command.help});
    return candidates;
}

} // namespace

Candidates Complete(const CommandSummary& program, std::span<const std::string> words)
{
    Position position(program);
    for (const std::string& word : words.first(words.size() - std::min<size_t>(words.size(), 1)))
        position.Pass(word);
    return position.At(words.empty() ? std::string() : words.back());
}

std::string CandidateLines(const Candidates& candidates)
{
    using enum Values::Paths;
    std::string lines = candidates.paths == Folders ? "folders"
                        : candidates.paths == Files ? "files"
                                                    : "none";
    for (const std::string& ending : candidates.endings)
        lines += " " + ending;
    for (const auto& [word, help] : candidates.words)
        lines += "\n" + word + "\t" + help;
    return lines + "\n";
}

std::string CompletionScript(const std::string& shell)
{
    return shell == "bash" ? kBashScript : shell == "zsh" ? kZshScript : kFishScript;
}

} // namespace aiff::host
