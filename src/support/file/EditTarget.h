// A file opened by name to be edited.
#pragma once

#include "support/file/DiskFile.h"

// Holds the file open, and a lock on it that keeps other editors out but no readers,
// for as long as the object lives.
class EditTarget
{
public:
    // Opens and locks a file. False, with errno set, when it cannot be opened for
    // writing or when another editor holds it (EWOULDBLOCK): never waits.
    [[nodiscard]] bool Open(const wchar_t* name);

    // Null before a successful Open.
    const std::shared_ptr<DiskFile>& File() const { return m_file; }

    // The file's own name, with symbolic links followed.
    const std::string& Path() const { return m_path; }

private:
    std::shared_ptr<DiskFile> m_file;
    std::string m_path;
};
