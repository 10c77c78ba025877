// SPDX-License-Identifier: MIT
#include "support/file/XFile.h"

#include "support/file/DiskFile.h"
#include "support/text/XStr.h"

namespace aiff
{

bool XFile::Open(const wchar_t* name)
{
    Close();
    std::string path;
    std::error_code error;
    return ToPathBytes(name, path) && Open(DiskFile::Open(path, DiskFile::Access::Read, error));
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
    if (!IsOpen() || m_handle->WriteAt(m_position, bytes))
        return false;
    m_position += static_cast<int64_t>(bytes.size());
    return true;
}

bool XFile::Give(std::vector<uint8_t> bytes)
{
    const auto size = static_cast<int64_t>(bytes.size());
    if (!IsOpen() || m_handle->GiveAt(m_position, std::move(bytes)))
        return false;
    m_position += size;
    return true;
}

bool XFile::SetSize(int64_t size)
{
    return IsOpen() && !m_handle->SetSize(size);
}

bool XFile::Shuffle(int64_t from, int64_t delta)
{
    return IsOpen() && !m_handle->Move(from, delta);
}

bool XFile::Remove(std::span<const FileContent::Range> ranges)
{
    return IsOpen() && !m_handle->Remove(ranges);
}

} // namespace aiff
