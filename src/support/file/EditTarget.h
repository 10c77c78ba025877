// A file opened by name in order to edit it.
#pragma once

#include "support/file/DiskFile.h"

namespace aiff
{

// Keeps the file open and locked for as long as the object lives. The lock is advisory:
// it keeps out other editors, but no readers.
class EditTarget
{
public:
    // Opens and locks a file without ever waiting. Fails when the file cannot be opened
    // for writing, and with operation_would_block when another editor holds it.
    [[nodiscard]] std::error_code Open(const wchar_t* name);

    // Null before a successful Open.
    const std::shared_ptr<DiskFile>& File() const { return m_file; }

    // The file's own name, with symbolic links resolved.
    const std::string& Path() const { return m_path; }

private:
    std::shared_ptr<DiskFile> m_file;
    std::string m_path;
};

} // namespace aiff
