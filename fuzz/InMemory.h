// SPDX-License-Identifier: MIT

// A file system in memory, in front of the system calls of the program that links
// it: what the tested code calls for a path below kFolder never reaches the system. For one thread.
#pragma once

#include "support/AiffBuilder.h"

#include <map>

namespace InMemory
{

inline const std::string kFolder = "/in-memory/";

// Replaces all files by one, which gets a new inode, and returns its wide path.
std::wstring OnlyFile(const Bytes& content);

// The content under each name.
std::map<std::string, Bytes> Files();
const Bytes& File(); // of the file that OnlyFile has named, whatever it is by now

} // namespace InMemory
