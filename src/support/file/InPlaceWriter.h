// Writing into an existing file so that the changes can be undone.
#pragma once

#include "support/file/DiskFile.h"

namespace aiff
{

// Remembers the bytes it overwrites. The file must outlive the writer.
class InPlaceWriter
{
public:
    explicit InPlaceWriter(DiskFile& file) : m_file(file), m_sizeBefore(file.Size()) {}

    // Writes at a position, which may lie past the end. Writes nothing when the bytes
    // already there cannot be read (io_error).
    [[nodiscard]] std::error_code Write(int64_t position, std::span<const uint8_t> bytes);

    // Writes a big-endian size field, or its last bytes, so that every state in between
    // is at least the smaller of old and new: one that grows is written at once, first byte
    // first, and one that shrinks byte by byte, last byte first.
    [[nodiscard]] std::error_code WriteSize(int64_t position, std::span<const uint8_t> bytes);

    // Restores everything, the file's size included. False when that fails, too.
    [[nodiscard]] bool Undo();

private:
    struct Overwritten {
        int64_t position = 0;
        std::vector<uint8_t> bytes;
    };

    DiskFile& m_file;
    int64_t m_sizeBefore;
    std::vector<Overwritten> m_overwritten;
};

} // namespace aiff
