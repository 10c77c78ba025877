// SPDX-License-Identifier: MIT

// A file system and a network in memory, in front of the system calls of the program that links
// it: what the tested code calls for a path below kFolder, or for a connection, never reaches the
// system. For one thread.
#pragma once

#include "support/AiffBuilder.h"

#include <functional>

namespace InMemory
{

inline const std::string kFolder = "/in-memory/";

// Replaces all files by one, which gets a new inode, and returns its wide path.
std::wstring OnlyFile(const Bytes& content);

size_t CountFiles();
// That of the file which OnlyFile has named, whatever it is by now; other programs may change it.
Bytes& File();

// What each connection sends when it has got a request, and how many bytes of it a read gets at
// most. Without bytes, the connection is refused.
extern std::function<Bytes(const std::string& request)> server;
extern size_t piece;

} // namespace InMemory
