// What the user gives the program to read.
#pragma once

#include "host/base/Problem.h"

#include <string>

namespace aiff::host
{

// An input as named on the command line: a file, or a URL that begins with "http://".
class Input
{
public:
    explicit Input(std::string name);

    const std::string& Name() const { return m_name; }
    const std::wstring& WideName() const { return m_wideName; }
    bool IsUrl() const { return m_isUrl; }

    // The last part of the name. A URL's query is left out, and "stream" stands in for
    // an empty part.
    std::string BaseName() const;
    // The extension of BaseName() with its dot; empty when it has none.
    std::string Extension() const;

    // Why this cannot be a file with audio. URLs are not looked at.
    Problem FileProblem() const;
    // Why the file may not be read. URLs are not looked at.
    Problem AccessProblem() const;

private:
    std::string m_name;
    std::wstring m_wideName;
    bool m_isUrl;
};

} // namespace aiff::host
