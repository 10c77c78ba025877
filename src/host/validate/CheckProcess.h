// SPDX-License-Identifier: MIT

// One check in a process of its own.
#pragma once

#include "host/validate/Findings.h"

#include <chrono>
#include <string>
#include <vector>

namespace aiff::host::validate
{

// Runs this program again with the arguments given, which make it write a line before each call
// of a plug-in and the findings as one line of JSON, to standard output. A process that crashes,
// ends too early or takes longer than `limit` is a fault, named with the call it was in.
Findings RunCheckProcess(const std::vector<std::string>& arguments, std::chrono::seconds limit);

// Ends the process that is running, if any. For any thread.
void EndCheckProcess();

} // namespace aiff::host::validate
