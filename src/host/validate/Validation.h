// SPDX-License-Identifier: MIT

// All checks of one plug-in: where they work, and how they are started.
#pragma once

#include "host/base/Problem.h"
#include "host/validate/Checks.h"
#include "host/validate/Findings.h"

#include <chrono>
#include <memory>
#include <string>
#include <vector>

namespace aiff::host::validate
{

// A folder for temporary files with samples, which goes with the object and when the program
// is interrupted.
class WorkFolder
{
public:
    // `ownSamples` names a folder of files to copy, or is empty.
    static Result<std::unique_ptr<WorkFolder>> Make(const std::string& ownSamples);

    explicit WorkFolder(std::string path) : m_path(std::move(path)) {}
    WorkFolder(const WorkFolder&) = delete;
    WorkFolder& operator=(const WorkFolder&) = delete;
    ~WorkFolder();

    const std::string& Path() const { return m_path; }
    // Samples of the user's that are too large or too many.
    const std::vector<std::string>& LeftOut() const { return m_leftOut; }

private:
    std::string m_path;
    std::vector<std::string> m_leftOut;
};

// The check of that name; null when there is none.
const Check* FindCheck(const std::string& name);

// Makes the check in this process, with the samples of a work folder.
//
// announcements  a descriptor that receives a line before each call of the plug-in, or -1
Findings MakeCheckHere(const Check& check, const std::string& plugin, const std::string& workFolder,
                       int announcements);

// Makes the check in a process of its own, which this program is started for.
Findings MakeCheck(const Check& check, const std::string& plugin, const std::string& workFolder,
                   std::chrono::seconds limit);

} // namespace aiff::host::validate
