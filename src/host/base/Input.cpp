#include "host/base/Input.h"

#include "support/text/XStr.h"

#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace aiff::host
{
namespace
{

constexpr std::string_view kUrlStart = "http://";

} // namespace

Input::Input(std::string name)
    : m_name(std::move(name)), m_wideName(FromPathBytes(m_name)),
      m_isUrl(BeginsNoCase(m_name, kUrlStart))
{
}

std::string Input::BaseName() const
{
    if (!m_isUrl)
        return m_name.substr(m_name.rfind('/') + 1);
    const std::string location =
        m_name.substr(kUrlStart.size(), m_name.find_first_of("?#") - kUrlStart.size());
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
    if (m_isUrl)
        return {};
    struct stat status;
    if (stat(m_name.c_str(), &status) != 0)
        return Problem::FromErrno();
    if (S_ISDIR(status.st_mode))
        return "is a folder";
    if (!S_ISREG(status.st_mode))
        return "is a pipe or device, not a file (save its data to a file first)";
    return status.st_size == 0 ? "is empty" : Problem();
}

Problem Input::AccessProblem() const
{
    const bool readable = m_isUrl || access(m_name.c_str(), R_OK) == 0;
    return readable ? Problem() : Problem::FromErrno();
}

} // namespace aiff::host
