// SPDX-License-Identifier: MIT

// One check, made in this process.
#pragma once

#include "host/base/Problem.h"
#include "host/validate/Checks.h"
#include "host/validate/Findings.h"

#include <string>

namespace aiff::host::validate
{

// Loads the plug-in and makes the check. Meanwhile standard output and standard error are files
// in the scratch folder. A plug-in that is broken may end the process.
//
// plugin        path
// sampleFolder  see FillSampleFolder
// scratchFolder an empty one for files of the check
// announcements a descriptor that receives a line before each call of the plug-in, or -1
Result<Findings> RunCheck(const Check& check, const std::string& plugin,
                          const std::string& sampleFolder, const std::string& scratchFolder,
                          int announcements);

} // namespace aiff::host::validate
