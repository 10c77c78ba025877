// SPDX-License-Identifier: MIT
#include "host/base/Input.h"

#include "support/text/XStr.h"

#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace aiff::host
{
namespace
{

constexpr std::string_view kHttp = "http://";
constexpr std::string_view kHttps = "https://";
constexpr std::string_view kStandardInput = "-";

} // namespace

Input::Input(std::string name) : m_name(std::move(name)), m_kind(KindOf(m_name)) {}

Input::Kind Input::KindOf(const std::string& name)
{
    if (BeginsNoCase(name, kHttp))
        return Kind::Http;
    if (BeginsNoCase(name, kHttps))
        return Kind::Https;
    return name == kStandardInput ? Kind::StandardInput : Kind::File;
}

Input Input::WithCopy(std::string path, std::shared_ptr<const void> keeper) const
{
    Input copy = *this;
    copy.m_copy = std::move(path);
    copy.m_keeper = std::move(keeper);
    return copy;
}

std::wstring Input::WidePath() const
{
    return FromPathBytes(Path());
}

std::string Input::BaseName() const
{
    if (m_kind == Kind::StandardInput)
        return "stdin";
    if (m_kind == Kind::File)
        return m_name.substr(m_name.rfind('/') + 1);
    const size_t start = (m_kind == Kind::Http ? kHttp : kHttps).size();
    const std::string location = m_name.substr(start, m_name.find_first_of("?#") - start);
    const size_t slash = location.rfind('/');
    const bool named = slash != std::string::npos && slash + 1 < location.size();
    return named ? location.substr(slash + 1) : "stream";
}

std::string Input::Extension() const
{
    const std::string base = BaseName();
    const size_t dot = base.rfind('.');
    return dot == std::string::npos || dot == 0 ? std::string() : base.substr(dot);
}

Problem Input::FileProblem() const
{
    if (!IsOnDisk())
        return {};
    struct stat status;
    if (stat(Path().c_str(), &status) != 0)
        return m_name.find("://") == std::string::npos
                   ? Problem::FromErrno()
                   : "is no file, and no address that begins with http:// or https://";
    if (S_ISDIR(status.st_mode))
        return "is a folder";
    if (!S_ISREG(status.st_mode))
        return "is a pipe or device, not a file (save its data to a file first)";
    return status.st_size == 0 ? "is empty" : Problem();
}

Problem Input::AccessProblem() const
{
    const bool readable = !IsOnDisk() || access(Path().c_str(), R_OK) == 0;
    return readable ? Problem() : Problem::FromErrno();
}

} // namespace aiff::host
