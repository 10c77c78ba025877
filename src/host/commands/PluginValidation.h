// SPDX-License-Identifier: MIT

// "aiffconv codecs --validate": the checks of a decoder plug-in, and how they are shown.
#pragma once

#include "host/base/ExitCode.h"
#include "host/commands/CommandLine.h"
#include "host/validate/Validation.h"

#include <string>
#include <vector>

namespace aiff::host
{

class PluginValidation
{
public:
    // Adds --validate and the options that need it.
    void AddTo(CommandLine command);
    bool IsWanted() const { return !m_plugin.empty(); }

    // What is wrong with the options, if anything.
    Problem UsageProblem() const;
    // Makes the checks and shows them: all, as JSON, or only those that fail.
    ExitCode Run(bool asJson, bool quiet) const;

private:
    validate::Findings Make(const validate::Check& check, const std::string& workFolder) const;

    std::vector<Option> m_details; // options that go with --validate
    std::string m_plugin;          // path
    std::string m_samples;
    std::vector<std::string> m_only; // names of checks
    int m_timeLimit = 60;            // seconds for each check
    bool m_inProcess = false;
    std::string m_workFolder; // of the program that has started this one
};

} // namespace aiff::host
