// SPDX-License-Identifier: MIT
#include "support/file/InPlaceWriter.h"

#include "support/QuietWrite.h"

#include <algorithm>

namespace aiff
{

namespace
{

// What small pieces are gathered in, so that each costs no call; larger ones are written alone.
constexpr size_t kGathered = size_t{1} << 18; // bytes

size_t SizeOf(const InPlaceStep& step)
{
    size_t size = 0;
    for (const std::span<const uint8_t> bytes : step.bytes)
        size += bytes.size();
    return size;
}

} // namespace

EditResult InPlaceWriter::Run(const InPlaceChange& change)
{
    using File = EditResult::File;
    size_t largest = 0;
    for (const InPlaceStep& step : change.steps)
        largest = std::max(largest, SizeOf(step));
    m_buffer.reserve(std::min(largest, kGathered));
    m_size = change.sizeBefore;
    const QuietSignals quiet;
    std::error_code error = Waits() ? std::error_code() : m_target.CheckUnchanged();
    for (size_t i = 0; i < change.steps.size(); ++i) {
        const bool isDecided = i > change.decisive;
        const std::span<const InPlaceStep> done(&change.steps[isDecided ? i : 0],
                                                &change.steps[i] + 1);
        if (!error)
            error = Carry(change.steps[i], i == change.decisive ? Flush::Full : Flush::Order);
        if (!error)
            continue;
        if (error == kChangedMeanwhile)
            return {File::Overtaken, error};
        const bool restored = !TakeBack(done) && (isDecided || m_size == change.sizeBefore ||
                                                  !m_file.SetSize(change.sizeBefore));
        return {isDecided ? File::Untidy : restored ? File::AsBefore : File::Unrestored, error};
    }
    return Finish(change.sizeAfter);
}

EditResult InPlaceWriter::Finish(int64_t size)
{
    using File = EditResult::File;
    if (m_size > size) {
        std::error_code error = m_target.CheckUnchanged();
        if (error == kChangedMeanwhile)
            return {File::Overtaken, error};
        if (!error)
            error = m_file.SetSize(size);
        if (error)
            return {File::Untidy, error};
    }
    // What was not flushed may turn out only now not to have been written.
    if (!Waits())
        if (const auto error = m_file.Close())
            return {File::Unrestored, error};
    return {};
}

std::error_code InPlaceWriter::Carry(const InPlaceStep& step, Flush flush)
{
    // Where nothing is waited for, others have hardly time to change the file between two steps.
    std::error_code error = Waits() ? m_target.CheckUnchanged() : std::error_code();
    if (!error)
        error = Write(step);
    // Before the barrier, which takes its time: what others do meanwhile must show.
    if (!error)
        error = m_target.NoteWrite(step.position + static_cast<int64_t>(SizeOf(step)));
    return error || !Waits() ? error : FlushFile(m_file.Descriptor(), flush);
}

std::error_code InPlaceWriter::Write(const InPlaceStep& step)
{
    int64_t position = step.position;
    m_size = std::max(m_size, position + static_cast<int64_t>(SizeOf(step)));
    const auto write = [&](std::span<const uint8_t> bytes) {
        const std::error_code error = m_file.WriteAt(position, bytes);
        position += static_cast<int64_t>(bytes.size());
        return error;
    };
    m_buffer.clear();
    for (const std::span<const uint8_t> bytes : step.bytes) {
        if (m_buffer.size() + bytes.size() > m_buffer.capacity()) {
            if (const auto error = write(m_buffer))
                return error;
            m_buffer.clear();
        }
        if (bytes.size() <= m_buffer.capacity())
            m_buffer.insert(m_buffer.end(), bytes.begin(), bytes.end());
        else if (const auto error = write(bytes))
            return error;
    }
    return write(m_buffer);
}

// Restores what switches have overwritten, the last one first, and stops where that fails: each
// of them left a well-formed file.
std::error_code InPlaceWriter::TakeBack(std::span<const InPlaceStep> steps)
{
    for (; !steps.empty(); steps = steps.first(steps.size() - 1)) {
        const InPlaceStep& step = steps.back();
        if (step.before.empty())
            continue;
        std::error_code error = m_file.WriteAt(step.position, step.before);
        if (!error && Waits())
            error = FlushFile(m_file.Descriptor(), Flush::Order);
        if (error)
            return error;
    }
    return {};
}

} // namespace aiff
