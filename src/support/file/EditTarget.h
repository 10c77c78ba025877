// SPDX-License-Identifier: MIT

// A file opened by name in order to edit it.
#pragma once

#include "support/file/DiskFile.h"
#include "support/file/FileAttributes.h"

#include <cerrno>

namespace aiff
{

// Why an edit stops when another program has changed, replaced, moved or removed the file.
// The number is what network file systems give for a file that is gone.
inline const std::error_code kChangedMeanwhile{ESTALE, std::generic_category()};

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

    // Fails with kChangedMeanwhile unless the path still names the opened file, with the size
    // and times that were noted last. What another program does in the instant between this
    // check and the step that depends on it goes unseen, and so does a change of the data
    // alone within the resolution of the file's times (milliseconds at most, but seconds on
    // some file systems).
    [[nodiscard]] std::error_code CheckUnchanged() const;

    // Notes the size and times that the file has after a write of our own up to position `end`,
    // as those to expect. Fails with kChangedMeanwhile when that write alone would have left
    // another size.
    [[nodiscard]] std::error_code NoteWrite(int64_t end);

    // How many names the opened file has although the path leads to another file by now: those
    // that still show the old content after a replacement. 0 without one.
    int64_t NamesOfReplacedFile() const;

    // The file's own name: that of a symbolic link is resolved.
    const std::string& Path() const { return m_path; }

private:
    std::error_code NoteState();

    std::shared_ptr<DiskFile> m_file;
    std::string m_path;
    FileState m_state;
};

} // namespace aiff
