// Writing into a file in such a way that it can be put back.
#pragma once

#include "support/file/DiskFile.h"

#include <vector>

// Remembers what it overwrites. The file must stay open while the writer lives.
class InPlaceWriter
{
public:
    explicit InPlaceWriter(DiskFile& file) : m_file(file), m_sizeBefore(file.Size()) {}

    // Writes at a position, also behind the end. False, with errno set, when the bytes
    // that are there cannot be kept or the write fails.
    [[nodiscard]] bool Write(int64_t position, std::span<const uint8_t> bytes);

    // Writes a big-endian size field, or its last bytes, so that every state in between
    // is at least the smaller of old and new: a size that grows from its first byte on,
    // one that shrinks from its last byte on, byte by byte.
    [[nodiscard]] bool WriteSize(int64_t position, std::span<const uint8_t> bytes);

    // Puts everything back, length included. False when that fails, too.
    bool Undo();

private:
    struct Overwritten {
        int64_t position = 0;
        std::vector<uint8_t> bytes;
    };

    DiskFile& m_file;
    int64_t m_sizeBefore;
    std::vector<Overwritten> m_overwritten;
};
