// SPDX-License-Identifier: MIT

// Names of unfinished outputs, and what dead programs have left under them.
#pragma once

#include <functional>
#include <string>

namespace aiff::host
{

// Finds a name next to `path` for an unfinished output and creates the file, removing what
// programs that were killed have left there for the same output. The program that writes a
// temporary file holds a lock on it; one without a lock belongs to nobody.
//
// create  makes the file under the name it is given, which must not exist yet; returns a
//         descriptor, or -1 with errno set. Called within Interruption::Undisturbed()
// name    receives the name
// returns the descriptor, locked, or -1 with errno set
int CreateTemporary(const std::string& path, const std::function<int(const std::string&)>& create,
                    std::string& name);

} // namespace aiff::host
