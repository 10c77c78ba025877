// The input of a decoder instance.
#pragma once

#include "support/XFile.h"

// Opens a local file or, for a name that begins with "http://" in any case, an
// HTTP stream, and remembers which of them the last successful Open was.
class XFileHTTPStream
{
public:
    // Closes what was open first. False when the input cannot be opened.
    [[nodiscard]] bool Open(const wchar_t* name);

    void Close() noexcept;

    bool FromInterent() const noexcept { return m_fromInternet; }

    // The local file; null when none is open.
    const XFileHandle& FileHandle() const noexcept { return m_file.Handle(); }

private:
    XFile m_file;
    bool m_fromInternet = false;
};
