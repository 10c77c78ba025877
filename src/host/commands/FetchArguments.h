// SPDX-License-Identifier: MIT

// Command-line options of the commands that read more than files.
#pragma once

#include "host/commands/CommandLine.h"
#include "host/session/AtHand.h"

namespace aiff::host
{

// What these commands take.
inline constexpr char kInputs[] =
    "Files, folders, http:// or https:// URLs, or - for standard input";

// Adds the options to a command. They are stored in `fetch`, which must outlive the parsing.
void AddFetchOptions(CommandLine command, Fetch& fetch);

} // namespace aiff::host
