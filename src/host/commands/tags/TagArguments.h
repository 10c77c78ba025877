// SPDX-License-Identifier: MIT

// Arguments of the commands that change tags.
#pragma once

#include "host/base/Problem.h"
#include "host/session/TagBlob.h"

#include <functional>
#include <string>
#include <vector>

namespace aiff::host
{

// The arguments of a command that takes files and then something else.
struct FilesAndRest {
    std::vector<std::string> files;
    std::vector<std::string> rest;
};

// The arguments before the first that is not a file are the files. A file after it is
// refused: most likely the name of an earlier file was mistyped and would be taken for
// something else.
//
// what  what the rest consists of, for messages
Result<FilesAndRest> SplitArguments(const std::vector<std::string>& arguments,
                                    const std::function<bool(const std::string&)>& isFile,
                                    const std::string& what);

bool Exists(const std::string& argument);

// All names of known fields, sorted, each followed by `after`.
std::vector<std::string> FieldNames(const std::string& after = {});

// Says so if a name makes a field of its own, and which other one may have been meant.
void SayOwnField(const std::string& name);

// The items for "NAME=VALUE" texts, with the names of the fields that are meant. Texts of one field
// become several values of one item; an empty value stays and removes the field. Refuses other
// texts, and names and values that no field can have. Says which names make fields of their own.
Result<std::vector<TagItem>> ReadAssignments(const std::vector<std::string>& assignments);

// Puts totals into the numbers that they belong to, which may be the file's own: "3" and a total
// of "12" become "3/12". An empty total removes it. A total without a number is a problem.
Result<std::vector<TagItem>> JoinTotals(std::vector<TagItem> items,
                                        const std::vector<TagItem>& own);

} // namespace aiff::host
