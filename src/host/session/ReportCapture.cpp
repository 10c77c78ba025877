// SPDX-License-Identifier: MIT
#include "host/session/ReportCapture.h"

#include <cerrno>
#include <cstdint>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>
#include <utility>

namespace aiff::host
{
namespace
{

// More than anyone reads; further lines are dropped.
constexpr size_t kMaxLines = 1000;
constexpr size_t kMaxLineLength = 16384; // bytes

void* Handle(int descriptor)
{
    // Descriptor 0 would mean "off"; main() keeps the first three in use.
    return descriptor < 0 ? nullptr : reinterpret_cast<void*>(static_cast<intptr_t>(descriptor));
}

std::string WithoutOperation(const std::string& line)
{
    const size_t operation = line.rfind("  [");
    const bool found = operation != std::string::npos && line.back() == ']';
    return found ? line.substr(0, operation) : line;
}

} // namespace

ReportCapture::ReportCapture(const Trace& trace) : m_trace(trace)
{
    m_information.shown = trace.level == Trace::Level::Information;
    m_errors.shown = trace.level == Trace::Level::Error || m_information.shown;
}

ReportCapture::~ReportCapture()
{
    Rest();
}

void ReportCapture::Rest()
{
    for (Channel* channel : {&m_errors, &m_information}) {
        for (int* end : {&channel->reading, &channel->writing}) {
            if (*end >= 0)
                close(std::exchange(*end, -1));
        }
    }
}

// Without pipes, for lack of descriptors, nothing is collected.
void ReportCapture::OpenChannel(Channel& channel)
{
    int ends[2];
    if (channel.reading >= 0 || pipe(ends) != 0)
        return;
    for (const int end : ends) {
        fcntl(end, F_SETFD, FD_CLOEXEC);
        fcntl(end, F_SETFL, fcntl(end, F_GETFL) | O_NONBLOCK);
    }
    channel.reading = ends[0];
    channel.writing = ends[1];
}

STNStdReport ReportCapture::Handles()
{
    OpenChannel(m_errors);
    OpenChannel(m_information);
    STNStdReport report{};
    report.hError = Handle(m_errors.writing);
    report.hInformation = Handle(m_information.writing);
    if (m_trace.level == Trace::Level::Debug)
        report.hDebug = Handle(m_trace.descriptor);
    return report;
}

void ReportCapture::Collect()
{
    pollfd waiting[] = {{m_errors.reading, POLLIN, 0}, {m_information.reading, POLLIN, 0}};
    if (poll(waiting, 2, 0) <= 0)
        return;
    if (waiting[0].revents != 0)
        Read(m_errors);
    if (waiting[1].revents != 0)
        Read(m_information);
}

void ReportCapture::Clear()
{
    for (Channel* channel : {&m_errors, &m_information}) {
        channel->partial.clear();
        channel->lines.clear();
    }
}

void ReportCapture::Read(Channel& channel)
{
    char buffer[4096];
    for (;;) {
        const ssize_t size = read(channel.reading, buffer, sizeof buffer);
        if (size < 0 && errno == EINTR)
            continue;
        if (size <= 0)
            return;
        const std::string_view text(buffer, static_cast<size_t>(size));
        if (channel.shown)
            (void)!write(m_trace.descriptor, text.data(), text.size());
        for (const char c : text) {
            if (c != '\n') {
                if (channel.partial.size() < kMaxLineLength)
                    channel.partial.push_back(c);
                continue;
            }
            if (channel.partial.ends_with('\r'))
                channel.partial.pop_back();
            if (channel.lines.size() < kMaxLines)
                channel.lines.push_back(WithoutOperation(channel.partial));
            channel.partial.clear();
        }
    }
}

} // namespace aiff::host
