#pragma once

#include <string>

namespace host
{

// Something to decode, as named on the command line: a file, or a URL that
// begins with "http://".
class Input
{
public:
    explicit Input(std::string name);

    const std::string& Name() const { return m_name; }
    const std::wstring& WideName() const { return m_wideName; }
    bool IsUrl() const { return m_isUrl; }

    // The last part of the name; of a URL without its query, and "stream" when
    // nothing is left.
    std::string BaseName() const;
    // The extension of BaseName() with its dot; empty when it has none.
    std::string Extension() const;

    // Why this cannot be a file with audio, in a few words; empty when it can, and
    // for every URL.
    std::string FileProblem() const;
    // Why the file cannot be read, in a few words; empty when it can, and for every
    // URL.
    std::string AccessProblem() const;

private:
    std::string m_name;
    std::wstring m_wideName;
    bool m_isUrl;
};

} // namespace host
