// Local files, read and written by position.
#pragma once

#include "support/XStr.h"

#include <cstdint>
#include <memory>
#include <span>
#include <utility>

// Owns one POSIX descriptor: moves, never copies.
class FileDescriptor
{
public:
    explicit FileDescriptor(int fd = -1) noexcept : m_fd(fd) {}
    FileDescriptor(FileDescriptor&& other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}
    FileDescriptor& operator=(FileDescriptor other) noexcept
    {
        std::swap(m_fd, other.m_fd);
        return *this;
    }
    ~FileDescriptor();
    int Get() const noexcept { return m_fd; }

private:
    int m_fd;
};

// An open file that several XFile objects look at; the last of them closes it.
using XFileHandle = std::shared_ptr<const FileDescriptor>;

// A view of an open file with a position of its own: two views of one handle do
// not move each other, and a failed read moves nobody. Signals that interrupt a
// call are no failures, nor are short counts before the end of the file.
class XFile
{
public:
    enum class Access { Read, ReadWrite };

    // Opens a file by name, closing what was open. Never waits: folders, pipes and
    // sockets are refused. False when it cannot be opened; errno says why.
    [[nodiscard]] bool Open(const wchar_t* name, Access access = Access::Read);

    // Looks at a file that is open already, from position 0.
    [[nodiscard]] bool Open(XFileHandle handle);

    void Close() noexcept;
    bool IsOpen() const noexcept { return m_handle != nullptr; }

    // Null when nothing is open.
    const XFileHandle& Handle() const noexcept { return m_handle; }

    // Bytes in the file now; -1 when that cannot be learned.
    int64_t Size() const noexcept;

    // Bytes from the start of the file.
    int64_t Position() const noexcept { return m_position; }

    // Moves to a position, which may lie behind the end. False, with the position
    // unchanged, when nothing is open or the position is negative.
    [[nodiscard]] bool SetPosition(int64_t position) noexcept;
    [[nodiscard]] bool Skip(int64_t bytes) noexcept;

    // Reads at the position and moves it by the bytes read, which are fewer than
    // asked for only at the end of the file or when reading fails.
    [[nodiscard]] size_t Read(std::span<uint8_t> out) noexcept;

    // Reads at a place of its own; the position stays.
    [[nodiscard]] size_t ReadAt(int64_t position, std::span<uint8_t> out) const noexcept;

private:
    XFileHandle m_handle;
    int64_t m_position = 0;
};
