#pragma once

#include "host/session/TagBlob.h"

#include <functional>
#include <string>
#include <vector>

namespace host
{

// Arguments of a command that takes files and, behind them, something else.
struct FilesAndRest {
    std::vector<std::string> files;
    std::vector<std::string> rest;
};

// The arguments up to the first that is no file are the files; a file behind that is an
// error, because a mistyped file name would then be taken for something else unnoticed.
//
// what  the rest consists of, for the line in `problem`
[[nodiscard]] bool SplitArguments(const std::vector<std::string>& arguments,
                                  const std::function<bool(const std::string&)>& isFile,
                                  const std::string& what, FilesAndRest& split,
                                  std::string& problem);

bool ExistsAsFile(const std::string& argument);

// The items that "NAME=VALUE" texts stand for; those of one name become several values
// of one item. An empty value stays: it removes the field.
//
// returns false with a line in `problem` when a text is none, or its name or value can
//         be no field's
[[nodiscard]] bool ReadAssignments(const std::vector<std::string>& assignments,
                                   std::vector<TagItem>& items, std::string& problem);

} // namespace host
