// SPDX-License-Identifier: MIT

// Bytes that can be read and changed by position.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <system_error>
#include <vector>

namespace aiff
{

// A file on disk, or an edit of one that has not been carried out yet. Positions and
// sizes are in bytes. An operation that changes the content returns why it failed; an
// error that compares false means success.
class FileContent
{
public:
    virtual ~FileContent() = default;

    // The present size; -1 when it cannot be determined.
    virtual int64_t Size() const = 0;

    // Reads at a position. The count is short only at the end and after an error.
    [[nodiscard]] virtual size_t ReadAt(int64_t position, std::span<uint8_t> out) const = 0;

    // A half-open range of positions.
    struct Range {
        int64_t start = 0;
        int64_t end = 0;
    };

    // The first range from a position below the size on that may hold anything but zeros. It
    // is empty and at the end when there is none.
    virtual Range NextData(int64_t position) const { return {position, Size()}; }

    // Writes at a position. When it lies past the end, the gap is filled with zeros.
    [[nodiscard]] virtual std::error_code WriteAt(int64_t position,
                                                  std::span<const uint8_t> bytes) = 0;

    // Like WriteAt, but takes over the memory, so that the content may keep it instead of
    // copying the bytes.
    [[nodiscard]] virtual std::error_code GiveAt(int64_t position, std::vector<uint8_t> bytes)
    {
        return WriteAt(position, bytes);
    }

    // Truncates the content or extends it with zeros.
    [[nodiscard]] virtual std::error_code SetSize(int64_t size) = 0;

    // Moves everything from a position to the end by `delta` bytes (negative: toward the
    // start, over what was there) and changes the size by as much.
    [[nodiscard]] virtual std::error_code Move(int64_t from, int64_t delta);

    // Removes ranges, which must be in ascending order and must not overlap.
    [[nodiscard]] virtual std::error_code Remove(std::span<const Range> ranges);
};

// Open content that several XFile objects may share; the last owner closes it.
using XFileHandle = std::shared_ptr<FileContent>;

} // namespace aiff
