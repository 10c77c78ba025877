#include "support/file/XFile.h"

#include "support/SaturatingMath.h"
#include "support/file/DiskFile.h"

#include <algorithm>
#include <cerrno>

namespace
{
constexpr int64_t kMovePiece = 65536; // bytes moved at a time
}

// Moves piece by piece, in the order in which no piece overwrites one not yet moved.
bool FileContent::Move(int64_t from, int64_t delta)
{
    const int64_t size = Size();
    if (from < 0 || size < from || AddSaturated(from, delta) < 0)
        return false;
    std::vector<uint8_t> buffer(static_cast<size_t>(std::min(kMovePiece, size - from)));
    int64_t left = size - from;
    while (left > 0) {
        const int64_t count = std::min(left, kMovePiece);
        const int64_t at = delta > 0 ? from + left - count : size - left;
        const std::span<uint8_t> piece(buffer.data(), static_cast<size_t>(count));
        if (ReadAt(at, piece) != piece.size() || !WriteAt(at + delta, piece))
            return false;
        left -= count;
    }
    return SetSize(size + delta);
}

bool FileContent::Remove(std::span<const Range> ranges)
{
    return std::all_of(ranges.rbegin(), ranges.rend(), [this](const Range& range) {
        return Move(range.end, range.start - range.end);
    });
}

bool XFile::Open(const wchar_t* name, Access access)
{
    Close();
    std::string path;
    if (!ToPathBytes(name, path)) {
        errno = ENOENT;
        return false;
    }
    return Open(DiskFile::Open(path, access));
}

bool XFile::Open(XFileHandle handle)
{
    m_handle = std::move(handle);
    m_position = 0;
    return IsOpen();
}

void XFile::Close() noexcept
{
    m_handle.reset();
    m_position = 0;
}

bool XFile::SetPosition(int64_t position) noexcept
{
    if (!IsOpen() || position < 0)
        return false;
    m_position = position;
    return true;
}

bool XFile::Skip(int64_t bytes) noexcept
{
    return SetPosition(AddSaturated(m_position, bytes));
}

size_t XFile::Read(std::span<uint8_t> out)
{
    const size_t count = ReadAt(m_position, out);
    m_position += static_cast<int64_t>(count);
    return count;
}

size_t XFile::ReadAt(int64_t position, std::span<uint8_t> out) const
{
    return IsOpen() ? m_handle->ReadAt(position, out) : 0;
}

bool XFile::Write(std::span<const uint8_t> bytes)
{
    if (!IsOpen() || !m_handle->WriteAt(m_position, bytes))
        return false;
    m_position += static_cast<int64_t>(bytes.size());
    return true;
}

bool XFile::Give(std::vector<uint8_t> bytes)
{
    const auto size = static_cast<int64_t>(bytes.size());
    if (!IsOpen() || !m_handle->GiveAt(m_position, std::move(bytes)))
        return false;
    m_position += size;
    return true;
}

bool XFile::SetSize(int64_t size)
{
    return IsOpen() && m_handle->SetSize(size);
}

bool XFile::Shuffle(int64_t from, int64_t delta)
{
    return IsOpen() && m_handle->Move(from, delta);
}

bool XFile::Remove(std::span<const FileContent::Range> ranges)
{
    return IsOpen() && m_handle->Remove(ranges);
}
