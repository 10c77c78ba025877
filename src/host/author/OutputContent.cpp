// SPDX-License-Identifier: MIT
#include "host/author/OutputContent.h"

#include <fcntl.h>

namespace aiff::host
{

OutputContent::OutputContent(const OutputFile& output)
    : DiskFile(FileDescriptor(fcntl(output.Descriptor(), F_DUPFD_CLOEXEC, 0)))
{
}

std::error_code OutputContent::WriteAt(int64_t position, std::span<const uint8_t> bytes)
{
    return Noted(DiskFile::WriteAt(position, bytes));
}

std::error_code OutputContent::SetSize(int64_t size)
{
    return Noted(DiskFile::SetSize(size));
}

// Keeps the first reason, which the chunk handler's results do not carry.
std::error_code OutputContent::Noted(std::error_code error)
{
    if (error && !m_failure)
        m_failure = error.message();
    return error;
}

} // namespace aiff::host
