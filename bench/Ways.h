// SPDX-License-Identifier: MIT

// The ways to handle an AIFF file that are compared: the plug-in driven as a host
// drives it, libsndfile, and plain read() as the limit of the machine.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>

// Does its work on one file from opening to closing and returns a number by which
// the work can be checked.
using Way = std::function<int64_t(const std::string& file)>;

// By name; the plug-in is loaded when one of its ways is first used.
//   read, plugin, libsndfile           reads all; bytes of the file or of the PCM
//   sum_plugin, sum_libsndfile         reads all; checksum of the PCM
//   open_1_16, open_1_8_16, open_libsndfile  opens and closes; bytes of PCM announced
//   tags                               opens and closes; count of tags
// and those of BareWays and TagWays.
std::map<std::string, Way> AllWays(const std::string& pluginPath);

//   tags_plugin, tags_taglib           reads tags and properties; bytes of the picture
//   edit_plugin, edit_taglib           sets another title; 1
//   delete_plugin, delete_taglib       removes the tag; 1
//   edit_12500, edit_100000            sets so many other fields, too; 1
//   written_plugin, written_taglib     the same; bytes written (Linux, else 0)
std::map<std::string, Way> TagWays(const std::string& pluginPath);

// Times of files of one width from 8 to 32 bits, by bare calls and loops; where they ended:
//   bare_read_64 (_256, _512)          reads pieces of so many KiB
//   bare_64 (_256, _512)               reads them, and swaps 64 KiB at a time in place
//   bare_swap                          swaps as much, but always the same 64 KiB
//   bare_mapped                        copies 64 KiB at a time from a mapping, and swaps them
std::map<std::string, Way> BareWays();

// Ends the program: a measurement of a failure is worth nothing.
[[noreturn]] void Fail(const std::string& reason);
