// Local files, read and written by position.
#pragma once

#include "support/file/FileDescriptor.h"
#include "support/text/XStr.h"

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

// The bytes behind an XFile: a file on disk, or an edit of one that is not carried out
// yet. Counts of bytes are complete unless the end was reached or something failed.
class FileContent
{
public:
    virtual ~FileContent() = default;

    // Bytes there are now; -1 when that cannot be learned.
    virtual int64_t Size() const = 0;

    // Reads at a position; the count is short at the end and after an error.
    [[nodiscard]] virtual size_t ReadAt(int64_t position, std::span<uint8_t> out) const = 0;

    // Writes at a position, which may lie behind the end: the gap is zeros.
    [[nodiscard]] virtual bool WriteAt(int64_t position, std::span<const uint8_t> bytes) = 0;

    // The same with memory that the content may keep instead of copying it.
    [[nodiscard]] virtual bool GiveAt(int64_t position, std::vector<uint8_t> bytes)
    {
        return WriteAt(position, bytes);
    }

    // Cuts the content off or extends it with zeros.
    [[nodiscard]] virtual bool SetSize(int64_t size) = 0;

    // Moves everything from a position to the end by `delta` bytes (negative: toward
    // the start, over what stood there) and changes the size by as much.
    [[nodiscard]] virtual bool Move(int64_t from, int64_t delta);

    // A part of the content, from a position to before another one.
    struct Range {
        int64_t start = 0;
        int64_t end = 0;
    };

    // Takes parts out, given in order and apart from each other.
    [[nodiscard]] virtual bool Remove(std::span<const Range> ranges);
};

// An open file that several XFile objects look at; the last of them closes it.
using XFileHandle = std::shared_ptr<FileContent>;

// A view of a file with a position of its own: two views of one handle do not move
// each other, and a failed read moves nobody. Signals that interrupt a call are no
// failures, nor are short counts before the end of the file.
class XFile
{
public:
    enum class Access { Read, ReadWrite };

    // Opens a file by name, closing what was open. Never waits: folders, pipes and
    // sockets are refused. False when it cannot be opened; errno says why.
    [[nodiscard]] bool Open(const wchar_t* name, Access access = Access::Read);

    // Looks at content that is open already, from position 0.
    [[nodiscard]] bool Open(XFileHandle handle);

    void Close() noexcept;
    bool IsOpen() const noexcept { return m_handle != nullptr; }

    // Null when nothing is open.
    const XFileHandle& Handle() const noexcept { return m_handle; }

    // Bytes in the file now; -1 when that cannot be learned.
    int64_t Size() const { return IsOpen() ? m_handle->Size() : -1; }

    // Bytes from the start of the file.
    int64_t Position() const noexcept { return m_position; }

    // Moves to a position, which may lie behind the end. False, with the position
    // unchanged, when nothing is open or the position is negative.
    [[nodiscard]] bool SetPosition(int64_t position) noexcept;
    [[nodiscard]] bool Skip(int64_t bytes) noexcept;

    // Reads at the position and moves it by the bytes read, which are fewer than
    // asked for only at the end of the file or when reading fails.
    [[nodiscard]] size_t Read(std::span<uint8_t> out);

    // Reads at a place of its own; the position stays.
    [[nodiscard]] size_t ReadAt(int64_t position, std::span<uint8_t> out) const;

    // Writes at the position and moves it behind what was written.
    [[nodiscard]] bool Write(std::span<const uint8_t> bytes);

    // The same with memory that the file may keep instead of copying it.
    [[nodiscard]] bool Give(std::vector<uint8_t> bytes);

    // Cuts the file off or extends it with zeros; the position stays.
    [[nodiscard]] bool SetSize(int64_t size);

    // Moves everything from a position to the end of the file by `delta` bytes
    // (negative: toward the start) and changes the file's size by as much.
    [[nodiscard]] bool Shuffle(int64_t from, int64_t delta);

    // Takes parts out of the file, given in order and apart from each other.
    [[nodiscard]] bool Remove(std::span<const FileContent::Range> ranges);

private:
    XFileHandle m_handle;
    int64_t m_position = 0;
};
