#include "support/file/InPlaceWriter.h"

#include <algorithm>

namespace aiff
{

std::error_code InPlaceWriter::Write(int64_t position, std::span<const uint8_t> bytes)
{
    const int64_t inside =
        std::clamp<int64_t>(m_sizeBefore - position, 0, static_cast<int64_t>(bytes.size()));
    if (inside > 0) {
        Overwritten before{position, std::vector<uint8_t>(static_cast<size_t>(inside))};
        if (m_file.ReadAt(position, before.bytes) != before.bytes.size())
            return make_error_code(std::errc::io_error);
        m_overwritten.push_back(std::move(before));
    }
    return m_file.WriteAt(position, bytes);
}

std::error_code InPlaceWriter::WriteSize(int64_t position, std::span<const uint8_t> bytes)
{
    std::vector<uint8_t> before(bytes.size());
    if (m_file.ReadAt(position, before) != before.size() ||
        !std::ranges::lexicographical_compare(bytes, before))
        return Write(position, bytes);
    for (size_t i = bytes.size(); i-- > 0;)
        if (bytes[i] != before[i])
            if (const auto error = Write(position + static_cast<int64_t>(i), bytes.subspan(i, 1)))
                return error;
    return {};
}

bool InPlaceWriter::Undo()
{
    bool restored = true;
    for (; !m_overwritten.empty(); m_overwritten.pop_back())
        restored &= !m_file.WriteAt(m_overwritten.back().position, m_overwritten.back().bytes);
    if (m_file.Size() != m_sizeBefore)
        restored &= !m_file.SetSize(m_sizeBefore);
    return restored;
}

} // namespace aiff
