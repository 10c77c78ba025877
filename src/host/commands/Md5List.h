// SPDX-License-Identifier: MIT

// Lists of checksums in the form of md5sum.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace aiff::host
{

struct ListedSum {
    std::string hex; // lower case
    std::string name;
};

struct SumList {
    std::vector<ListedSum> sums;
    size_t malformed = 0; // lines
};

// Reads the lines "HASH  NAME", "HASH *NAME" and "MD5 (NAME) = HASH". Empty lines and those
// that begin with "#" are comments.
SumList ReadSumList(std::string_view text);

// A name for a line of its own: "\" in front says that line ends and backslashes in it are
// written as "\n", "\r" and "\\".
//
// before  what the line has before the name
std::string LineWithName(const std::string& before, const std::string& name);

} // namespace aiff::host
