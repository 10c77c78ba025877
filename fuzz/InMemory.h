// SPDX-License-Identifier: MIT

// A file system and a network in memory, in front of the system calls of the program that links
// it: what the tested code calls for a path below kFolder, or for a connection, never reaches the
// system. For one thread.
#pragma once

#include "support/AiffBuilder.h"

#include <functional>
#include <string_view>

namespace InMemory
{

inline constexpr std::string_view kFolder = "/in-memory/";

// Replaces all files by one, which gets a new inode, and returns its wide path.
std::wstring OnlyFile(const Bytes& content);

size_t CountFiles();
// Descriptors that are open.
ptrdiff_t CountOpen();
// That of the file which OnlyFile has named, whatever it is by now; other programs may change it.
Bytes& File();

// Bytes of the last line that was written at the end of a file: a report, which nobody reads.
extern ssize_t lastReport;

// What each connection sends when it has got a request, and whether it comes in small pieces.
// Without a server, the connection is refused.
extern std::function<Bytes(const std::string& request)> server;
extern bool trickles;

} // namespace InMemory
