// SPDX-License-Identifier: MIT
#include "host/batch/Progress.h"

#include "host/base/Columns.h"
#include "host/base/Printable.h"

#include <algorithm>
#include <unistd.h>

namespace aiff::host
{
namespace
{

constexpr std::chrono::milliseconds kDrawInterval{100};

void WriteAll(std::string_view text)
{
    (void)!write(STDERR_FILENO, text.data(), text.size());
}

} // namespace

Progress::Progress(Style style, std::vector<int64_t> sizes, size_t workers)
    : m_style(style), m_sizes(std::move(sizes)), m_fractions(workers), m_received(workers),
      m_current(workers)
{
    for (const int64_t size : m_sizes) {
        m_total += std::max<int64_t>(size, 0);
        m_unknown += size < 0 ? 1 : 0;
    }
    if (m_style == Style::Bar)
        m_drawing = std::thread([this] { DrawUntilEnd(); });
}

Progress::~Progress()
{
    std::unique_lock lock(m_access);
    m_ends = true;
    lock.unlock();
    m_end.notify_all();
    if (m_drawing.joinable())
        m_drawing.join();
    Erase();
}

void Progress::Begin(size_t worker, size_t index, std::string_view name)
{
    const std::lock_guard lock(m_access);
    m_current[worker] = File{index, Printable(name)};
}

void Progress::Update(size_t worker, Advance advance)
{
    m_fractions[worker].store(static_cast<float>(advance.fraction), std::memory_order_relaxed);
    m_received[worker].store(advance.received, std::memory_order_relaxed);
}

// What was skipped, or not read because of a failure, is no work that was done.
void Progress::FileDone(size_t worker)
{
    const std::lock_guard lock(m_access);
    ++m_filesDone;
    const int64_t size = m_sizes[m_current[worker]->index];
    const int64_t done = BytesOf(worker);
    m_bytesDone += done;
    m_total -= size < 0 ? 0 : size - done;
    m_unknown -= size < 0 ? 1 : 0;
    m_current[worker].reset();
    m_fractions[worker].store(0, std::memory_order_relaxed);
    m_received[worker].store(0, std::memory_order_relaxed);
}

void Progress::ShowResult(std::string_view line)
{
    const std::lock_guard lock(m_access);
    const bool shown = m_style == Style::Lines || (m_style == Style::Bar && m_sizes.size() == 1);
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

// Regularly, so that it is seen when nothing moves, and that the line follows the window.
void Progress::DrawUntilEnd()
{
    std::unique_lock lock(m_access);
    while (!m_end.wait_for(lock, kDrawInterval, [this] { return m_ends; })) {
        const ProgressState state = State();
        const size_t columns = TerminalColumns() - 1; // the last one makes some terminals wrap
        WriteAll("\r" + ProgressLine(state, columns) + "\033[K");
        m_drawn = true;
    }
}

// Of a worker's current file, whose size is that of the file or, where that is unknown, what came.
int64_t Progress::BytesOf(size_t worker) const
{
    if (!m_current[worker])
        return 0;
    const auto size = static_cast<double>(std::max<int64_t>(m_sizes[m_current[worker]->index], 0));
    const double fraction = m_fractions[worker].load(std::memory_order_relaxed);
    return static_cast<int64_t>(std::clamp(fraction, 0.0, 1.0) * size) +
           m_received[worker].load(std::memory_order_relaxed);
}

ProgressState Progress::State()
{
    ProgressState state;
    state.files = m_sizes.size();
    state.filesDone = m_filesDone;
    state.bytes = m_bytesDone;
    auto filesDone = static_cast<double>(m_filesDone);
    size_t first = m_sizes.size();
    bool isReceiving = false;
    for (size_t worker = 0; worker < m_current.size(); ++worker) {
        state.bytes += BytesOf(worker);
        filesDone += m_fractions[worker].load(std::memory_order_relaxed);
        isReceiving |= m_received[worker].load(std::memory_order_relaxed) != 0;
        if (m_current[worker] && m_current[worker]->index < first) {
            first = m_current[worker]->index;
            state.name = m_current[worker]->name;
        }
    }
    m_speed.Note(state.bytes, std::chrono::steady_clock::now());
    state.bytesPerSecond = m_speed.BytesPerSecond();
    const bool isKnown = m_unknown == 0 && m_total > 0;
    const auto total = static_cast<double>(m_total);
    const double part = isKnown ? static_cast<double>(state.bytes) / total
                                : filesDone / static_cast<double>(state.files);
    state.part = isReceiving ? -1 : std::clamp(part, 0.0, 1.0);
    if (isKnown && state.bytesPerSecond > 0)
        state.secondsLeft = (total - static_cast<double>(state.bytes)) / state.bytesPerSecond;
    return state;
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
