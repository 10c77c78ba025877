// SPDX-License-Identifier: MIT

// What a command is given to work on: files by their names, and those in folders.
#pragma once

#include "host/base/Problem.h"

#include <array>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace aiff::host
{

// Endings of the files that are looked for in folders.
inline constexpr std::array<std::string_view, 3> kAiffEndings = {".aif", ".aifc", ".aiff"};
inline constexpr std::array<std::string_view, 15> kSoundEndings = {
    ".aif",  ".aifc", ".aiff", ".au",  ".bwf", ".caf",  ".flac", ".oga",
    ".rf64", ".snd",  ".voc",  ".w64", ".wav", ".wave", ".wavex"};

// A file, a URL or standard input.
struct InputName {
    std::string name;
    // Of a file found in a folder that the user named: what leads from there to the file, such
    // as "Album/Disc 1/".
    std::optional<std::string> below = {};
    Problem problem = {}; // of a folder in the place of its files: why there are none
};

// Replaces each folder by the files below it that have one of the endings, in upper or lower
// case, in the byte order of their paths; other names stay as they are. A folder that cannot be
// read, or that holds no such file, stays with its problem.
//
// Links are followed, to folders after all folders that are no links; no folder is entered
// twice. Left out is what operating systems keep for themselves: trash, indexes, "._" files.
// So is the folder `output`, which is said, where it lies in one that is searched.
std::vector<InputName> FindInputs(const std::vector<std::string>& names,
                                  std::span<const std::string_view> endings,
                                  const std::string& output = {});

// Whether an extension, with its dot, is one of the endings, in upper or lower case.
bool IsOneOf(std::span<const std::string_view> endings, std::string_view extension);

} // namespace aiff::host
