// SPDX-License-Identifier: MIT

// A file system and a network in memory, in front of the system calls of the program that links
// it: what the tested code calls for a path below kFolder, or for a connection, never reaches the
// system. For one thread.
#pragma once

#include "support/AiffBuilder.h"

#include <functional>
#include <map>

namespace InMemory
{

inline const std::string kFolder = "/in-memory/";

// Replaces all files by one, which gets a new inode, and returns its wide path.
std::wstring OnlyFile(const Bytes& content);

// The content under each name.
std::map<std::string, Bytes> Files();
const Bytes& File();   // of the file that OnlyFile has named, whatever it is by now
void Cut(size_t size); // makes it shorter, as another program does

// What each connection sends when it has got a request, and how many bytes of it a read gets at
// most. Without bytes, the connection is refused.
extern std::function<Bytes(const std::string& request)> server;
extern size_t piece;

} // namespace InMemory
