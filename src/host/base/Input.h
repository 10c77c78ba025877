// SPDX-License-Identifier: MIT

// What the user gives the program to read.
#pragma once

#include "host/base/Problem.h"

#include <memory>
#include <string>

namespace aiff::host
{

// An input as named on the command line: a file, a URL that begins with "http://" or
// "https://", or "-" for standard input. Decoders read files and http:// streams; of
// everything else a local copy must be made first.
class Input
{
public:
    explicit Input(std::string name);

    // The same input, to be read from a copy of its content. `path` names the copy as long as
    // `keeper` lives.
    Input WithCopy(std::string path, std::shared_ptr<const void> keeper) const;

    const std::string& Name() const { return m_name; }
    // What to open.
    const std::string& Path() const { return m_keeper ? m_copy : m_name; }
    std::wstring WidePath() const;

    // Whether it names a file.
    bool IsFile() const { return m_kind == Kind::File; }
    // Whether it is a URL, copied or not.
    bool IsUrl() const { return m_kind == Kind::Http || m_kind == Kind::Https; }
    // Whether decoders read it from the network.
    bool IsStream() const { return m_kind == Kind::Http && !m_keeper; }
    // Whether it can be read only from a copy, which there is not yet.
    bool NeedsCopy() const
    {
        return !m_keeper && (m_kind == Kind::Https || m_kind == Kind::StandardInput);
    }

    // The last part of the name. A URL's query is left out; "stream" stands in for an empty
    // part, and "stdin" for standard input.
    std::string BaseName() const;
    // The extension of BaseName() with its dot; empty when it has none.
    std::string Extension() const;

    // Why this cannot be a file with audio. Only files and copies are looked at.
    Problem FileProblem() const;
    // Why the file may not be read. Only files and copies are looked at.
    Problem AccessProblem() const;

private:
    enum class Kind { File, Http, Https, StandardInput };

    static Kind KindOf(const std::string& name);
    bool IsOnDisk() const { return m_kind == Kind::File || m_keeper; }

    std::string m_name;
    Kind m_kind;
    std::string m_copy; // its path, when there is one
    std::shared_ptr<const void> m_keeper;
};

} // namespace aiff::host
