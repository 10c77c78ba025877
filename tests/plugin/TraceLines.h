// SPDX-License-Identifier: MIT

// Lines of the diagnostic trace, written short.
#pragma once

#include <string>
#include <vector>

// "Name{...}" is an operation that succeeds, with what is traced inside two spaces deeper; "|"
// ends any other line. "Ok" is the message of a check of chunks. A "<" at the start of a
// line takes its indentation away. Operations may be left open.
inline std::string TraceLines(const std::string& notation, size_t indentation)
{
    std::string out, word;
    std::vector<std::string> operations;
    const auto write = [&](const std::string& line) {
        out += (line[0] == '<' ? line.substr(1) : std::string(indentation, ' ') + line) + "\r\n";
        if (line.starts_with("->->"))
            indentation += 2;
        word.clear();
    };
    for (const char c : notation)
        if (c == '{') {
            operations.push_back(word);
            write("->->  [" + word + "]");
        } else if (c == '}') {
            indentation -= 2;
            out += std::string(indentation, ' ') + "<-<-  [" + operations.back() + "]\r\n";
            operations.pop_back();
        } else if (c == '|') {
            write(word == "Ok" ? "clAIFFHandler::CalcAllChunks: Ok" : word);
        } else {
            word += c;
        }
    return out;
}
