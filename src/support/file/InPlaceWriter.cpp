#include "support/file/InPlaceWriter.h"

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
    const int64_t sizeBefore = m_file.Size();
    size_t largest = 0;
    for (const InPlaceStep& step : change.steps)
        largest = std::max(largest, SizeOf(step));
    m_buffer.reserve(std::min(largest, kGathered));
    m_before.reserve(change.steps.size());
    for (size_t i = 0; i < change.steps.size(); ++i) {
        const bool isDecided = i > change.decisive;
        const size_t switches = m_before.size();
        const auto error =
            Carry(change.steps[i], i == change.decisive ? Flush::Full : Flush::Order);
        if (!error)
            continue;
        if (error == kChangedMeanwhile)
            return {File::Overtaken, error};
        const bool restored =
            !TakeBack(isDecided ? switches : 0) &&
            (isDecided || m_file.Size() == sizeBefore || !m_file.SetSize(sizeBefore));
        return {isDecided ? File::Untidy : restored ? File::AsBefore : File::Unrestored, error};
    }
    return Finish(change.sizeAfter);
}

EditResult InPlaceWriter::Finish(int64_t size)
{
    using File = EditResult::File;
    if (m_file.Size() != size) {
        std::error_code error = m_target.CheckUnchanged();
        if (error == kChangedMeanwhile)
            return {File::Overtaken, error};
        if (!error)
            error = m_file.SetSize(size);
        if (error)
            return {File::Untidy, error};
    }
    // What was not flushed may turn out only now not to have been written.
    if (m_durability == Durability::Unflushed)
        if (const auto error = m_file.Close())
            return {File::Unrestored, error};
    return {};
}

std::error_code InPlaceWriter::Carry(const InPlaceStep& step, Flush flush)
{
    std::error_code error;
    if (step.kind == InPlaceStep::Kind::Switch)
        error = Remember(step);
    if (!error)
        error = m_target.CheckUnchanged();
    if (!error)
        error = Write(step);
    // Before the barrier, which takes its time: what others do meanwhile must show.
    if (!error)
        error = m_target.NoteWrite(step.position + static_cast<int64_t>(SizeOf(step)));
    return error ? error : Barrier(flush);
}

std::error_code InPlaceWriter::Remember(const InPlaceStep& step)
{
    Before& before = m_before.emplace_back();
    before.position = step.position;
    before.size = std::min(SizeOf(step), before.bytes.size());
    const std::span<uint8_t> bytes = std::span(before.bytes).first(before.size);
    if (m_file.ReadAt(before.position, bytes) == before.size)
        return {};
    m_before.pop_back();
    return make_error_code(std::errc::io_error);
}

std::error_code InPlaceWriter::Write(const InPlaceStep& step)
{
    int64_t position = step.position;
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

std::error_code InPlaceWriter::Barrier(Flush flush)
{
    return m_durability == Durability::Flushed ? FlushFile(m_file.Descriptor(), flush)
                                               : std::error_code();
}

// Restores what the switches from one on have overwritten, the last one first, and stops where
// that fails: each of them left a well-formed file.
std::error_code InPlaceWriter::TakeBack(size_t first)
{
    for (; m_before.size() > first; m_before.pop_back()) {
        const Before& before = m_before.back();
        std::error_code error =
            m_file.WriteAt(before.position, std::span(before.bytes).first(before.size));
        if (!error)
            error = Barrier(Flush::Order);
        if (error)
            return error;
    }
    return {};
}

} // namespace aiff
