// SPDX-License-Identifier: MIT

// Reads chunk headers ahead: a file of many small chunks does not cost a system call for
// each, and a file of a few large chunks does not have their data read.
#pragma once

#include "support/XMem.h"
#include "support/file/XFile.h"

#include <algorithm>

namespace aiff
{

class HeaderReader
{
public:
    // The file must outlive the reader. Nothing past `fileSize` is asked for, which saves
    // the call that would only find the end.
    HeaderReader(const XFile& file, int64_t fileSize) : m_file(file), m_fileSize(fileSize) {}

    // Up to `size` bytes at a position; fewer at the end of the file. The view is
    // valid until the next call.
    std::span<const uint8_t> At(int64_t position, size_t size)
    {
        const bool inside = position >= m_start && position <= End();
        if (inside && position + static_cast<int64_t>(size) <= End())
            return m_window.View().subspan(static_cast<size_t>(position - m_start), size);
        // A request that continues the last window comes from a run of small chunks:
        // the window grows with the run and shrinks after it.
        m_windowSize = inside ? std::min(m_windowSize * 2, kMostWindow) : kLeastWindow;
        Fill(position);
        return m_window.View().first(std::min(size, m_window.Used()));
    }

private:
    static constexpr size_t kLeastWindow = 4096;
    static constexpr size_t kMostWindow = 65536;

    int64_t End() const { return m_start + static_cast<int64_t>(m_window.Used()); }

    void Fill(int64_t position)
    {
        m_start = position;
        const int64_t left = std::max<int64_t>(m_fileSize - position, 0);
        const size_t size = std::min(m_windowSize, static_cast<size_t>(left));
        if (!m_window.Reserve(size) || !m_window.SetUsed(size)) {
            m_window.Clear();
            return;
        }
        // Within the reserve, SetUsed cannot fail.
        (void)m_window.SetUsed(m_file.ReadAt(position, m_window.View()));
    }

    const XFile& m_file;
    int64_t m_fileSize;
    XMem m_window;
    size_t m_windowSize = kLeastWindow / 2; // the first request doubles it
    int64_t m_start = 0;
};

} // namespace aiff
