// SPDX-License-Identifier: MIT
#include "host/batch/Progress.h"

#include <algorithm>
#include <cstdio>
#include <unistd.h>

namespace aiff::host
{
namespace
{

constexpr std::chrono::milliseconds kDrawInterval{100};
constexpr size_t kBarWidth = 40;

void WriteAll(std::string_view text)
{
    (void)!write(STDERR_FILENO, text.data(), text.size());
}

} // namespace

Progress::Progress(Style style, size_t files, size_t workers)
    : m_style(style), m_files(files), m_fractions(workers), m_received(workers)
{
}

Progress::~Progress()
{
    const std::lock_guard lock(m_access);
    Erase();
}

void Progress::Update(size_t worker, Advance advance)
{
    if (m_style != Style::Bar)
        return;
    m_fractions[worker].store(static_cast<float>(advance.fraction), std::memory_order_relaxed);
    m_received[worker].store(advance.received, std::memory_order_relaxed);
    const Clock::rep now = Clock::now().time_since_epoch().count();
    Clock::rep due = m_nextDraw.load(std::memory_order_relaxed);
    if (now < due)
        return;
    const Clock::rep next =
        now + std::chrono::duration_cast<Clock::duration>(kDrawInterval).count();
    if (!m_nextDraw.compare_exchange_strong(due, next, std::memory_order_relaxed))
        return;
    const std::lock_guard lock(m_access);
    Draw();
}

void Progress::FileDone(size_t worker)
{
    const std::lock_guard lock(m_access);
    ++m_filesDone;
    m_fractions[worker].store(0, std::memory_order_relaxed);
    m_received[worker].store(0, std::memory_order_relaxed);
}

void Progress::ShowResult(std::string_view line)
{
    const std::lock_guard lock(m_access);
    const bool shown = m_style == Style::Lines || (m_style == Style::Bar && m_files == 1);
    if (shown && !line.empty())
        Write(line);
}

void Progress::Summary(std::string_view line)
{
    const std::lock_guard lock(m_access);
    if (m_style != Style::Quiet)
        Write(line);
}

void Progress::ShowProblem(const Problem& problem)
{
    const std::lock_guard lock(m_access);
    Erase();
    SayProblem(problem);
}

void Progress::Draw()
{
    double done = static_cast<double>(m_filesDone);
    for (const auto& fraction : m_fractions)
        done += static_cast<double>(fraction.load(std::memory_order_relaxed));
    const double part = std::clamp(done / static_cast<double>(m_files), 0.0, 1.0);
    const size_t filled = static_cast<size_t>(part * static_cast<double>(kBarWidth));
    char text[64];
    std::snprintf(text, sizeof text, "] %3d%%", static_cast<int>(part * 100));
    std::string bar =
        "\r[" + std::string(filled, '#') + std::string(kBarWidth - filled, '-') + text;
    if (m_files > 1)
        bar += "  " + std::to_string(m_filesDone) + " of " + std::to_string(m_files);
    WriteAll(bar + ReceivedText());
    m_drawn = true;
}

std::string Progress::ReceivedText() const
{
    int64_t received = 0;
    for (const auto& bytes : m_received)
        received += bytes.load(std::memory_order_relaxed);
    if (received <= 0)
        return {};
    char text[64];
    std::snprintf(text, sizeof text, "  %.1f MB received", static_cast<double>(received) / 1e6);
    return text;
}

void Progress::Erase()
{
    if (m_drawn)
        WriteAll("\r\033[K");
    m_drawn = false;
}

void Progress::Write(std::string_view line)
{
    Erase();
    WriteAll(std::string(line) + "\n");
}

} // namespace aiff::host
