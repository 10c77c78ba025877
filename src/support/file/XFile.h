// SPDX-License-Identifier: MIT

// A file with a position, as the chunk handler and the decoders use it.
#pragma once

#include "support/file/FileContent.h"

namespace aiff
{

// A view of open content with a position of its own, in bytes from the start: two views
// of one handle do not move each other, and a failed read does not move the position.
class XFile
{
public:
    // Opens a file on disk by name for reading, closing what was open. Never waits:
    // directories, pipes and sockets are refused.
    [[nodiscard]] bool Open(const wchar_t* name);

    // Looks at content that is open already, starting at position 0. False for null.
    [[nodiscard]] bool Open(XFileHandle handle);

    void Close() noexcept;
    bool IsOpen() const noexcept { return m_handle != nullptr; }

    // Null when nothing is open.
    const XFileHandle& Handle() const noexcept { return m_handle; }

    // Bytes in the file now; -1 when that cannot be determined.
    int64_t Size() const { return IsOpen() ? m_handle->Size() : -1; }

    int64_t Position() const noexcept { return m_position; }

    // Moves to a position, which may lie past the end. False, with the position
    // unchanged, when nothing is open or the position is negative.
    [[nodiscard]] bool SetPosition(int64_t position) noexcept;

    // Reads at the position and advances it by the bytes read, which are fewer than asked
    // for only at the end of the file or when reading fails.
    [[nodiscard]] size_t Read(std::span<uint8_t> out);

    // Reads at a given position; the view's own position stays.
    [[nodiscard]] size_t ReadAt(int64_t position, std::span<uint8_t> out) const;

    // Writes at the position and advances it past what was written.
    [[nodiscard]] bool Write(std::span<const uint8_t> bytes);

    // Like Write, but takes over the memory, which may save a copy.
    [[nodiscard]] bool Give(std::vector<uint8_t> bytes);

    // Truncates the file or extends it with zeros; the position stays.
    [[nodiscard]] bool SetSize(int64_t size);

    // Moves everything from a position to the end of the file by `delta` bytes
    // (negative: toward the start) and changes the file's size by as much.
    [[nodiscard]] bool Shuffle(int64_t from, int64_t delta);

    // Removes ranges, which must be in ascending order and must not overlap.
    [[nodiscard]] bool Remove(std::span<const FileContent::Range> ranges);

private:
    XFileHandle m_handle;
    int64_t m_position = 0;
};

} // namespace aiff
