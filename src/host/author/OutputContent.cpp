#include "host/author/OutputContent.h"

#include <fcntl.h>

namespace host
{

OutputContent::OutputContent(const OutputFile& output)
    : DiskFile(FileDescriptor(fcntl(output.Descriptor(), F_DUPFD_CLOEXEC, 0)))
{
}

bool OutputContent::WriteAt(int64_t position, std::span<const uint8_t> bytes)
{
    return Checked(DiskFile::WriteAt(position, bytes));
}

bool OutputContent::SetSize(int64_t size)
{
    return Checked(DiskFile::SetSize(size));
}

bool OutputContent::Checked(bool done)
{
    if (!done && !m_failure)
        m_failure = Problem::FromErrno();
    return done;
}

} // namespace host
