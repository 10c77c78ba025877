// SPDX-License-Identifier: MIT
#include "host/base/TerminalFilter.h"

#include "host/base/Printable.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <thread>
#include <unistd.h>

namespace aiff::host
{
namespace
{

// A longer line is shown in parts.
constexpr size_t kMostLineBytes = 64 * 1024;

class TerminalFilter
{
public:
    explicit TerminalFilter(int terminal) : m_terminal(terminal)
    {
        int ends[2];
        if (pipe(ends) != 0)
            return;
        for (const int end : ends)
            fcntl(end, F_SETFD, FD_CLOEXEC);
        m_reading = ends[0];
        m_writing = ends[1];
        m_thread = std::thread([this] { Run(); });
    }
    TerminalFilter(const TerminalFilter&) = delete;
    TerminalFilter& operator=(const TerminalFilter&) = delete;
    // Shows what was written and ends.
    ~TerminalFilter()
    {
        if (!m_thread.joinable())
            return;
        close(m_writing);
        m_thread.join();
        close(m_reading);
    }

    int Input() const { return m_writing >= 0 ? m_writing : m_terminal; }

private:
    void Run() const
    {
        std::string line;
        char buffer[4096];
        for (;;) {
            const ssize_t size = read(m_reading, buffer, sizeof buffer);
            if (size < 0 && errno == EINTR)
                continue;
            if (size <= 0)
                break;
            for (const char c : std::string_view(buffer, static_cast<size_t>(size))) {
                if (c == '\n' || line.size() == kMostLineBytes)
                    Show(line);
                if (c != '\n')
                    line.push_back(c == '\t' ? ' ' : c);
            }
        }
        if (!line.empty())
            Show(line);
    }

    void Show(std::string& line) const
    {
        if (line.ends_with('\r'))
            line.pop_back();
        const std::string text = Printable(line) + "\n";
        (void)!write(m_terminal, text.data(), text.size());
        line.clear();
    }

    int m_terminal;
    int m_reading = -1;
    int m_writing = -1;
    std::thread m_thread;
};

} // namespace

int PrintableTerminal(int terminal)
{
    static const TerminalFilter filter(terminal);
    return filter.Input();
}

} // namespace aiff::host
