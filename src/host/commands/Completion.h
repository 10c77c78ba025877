// SPDX-License-Identifier: MIT

// What may stand at a place of the command line, for completion in shells.
#pragma once

#include "host/commands/CommandLine.h"

#include <span>
#include <string>
#include <vector>

namespace aiff::host
{

struct Candidate {
    std::string word;
    std::string help; // may be empty
};

struct Candidates {
    std::vector<Candidate> words;
    // The paths that may stand there as well; in an argument "--option=PATH", after the "=".
    Values::Paths paths = Values::Paths::None;
    std::vector<std::string> endings = {}; // as in Values
};

// What the last of the words, which may be incomplete or empty, may become. Options and commands
// are all of those that may stand there, whatever has been typed of them.
Candidates Complete(const CommandSummary& program, std::span<const std::string> words);

// The form in which the scripts for shells read them. The first line is "none", "folders" or
// "files" with the endings; each other one is a word, a tab and its help.
std::string CandidateLines(const Candidates& candidates);

// The script for a shell, bash, zsh or fish, by its name.
std::string CompletionScript(const std::string& shell);

} // namespace aiff::host
