// SPDX-License-Identifier: MIT
#include "support/file/FileContent.h"

#include "support/SaturatingMath.h"

#include <algorithm>

namespace aiff
{

namespace
{
constexpr int64_t kMovePiece = 65536; // bytes moved at a time
}

// Moves piece by piece, in the order in which no piece overwrites one not yet moved.
std::error_code FileContent::Move(int64_t from, int64_t delta)
{
    const int64_t size = Size();
    if (from < 0 || size < from || AddSaturated(from, delta) < 0)
        return make_error_code(std::errc::invalid_argument);
    std::vector<uint8_t> buffer(static_cast<size_t>(std::min(kMovePiece, size - from)));
    int64_t left = size - from;
    while (left > 0) {
        const int64_t count = std::min(left, kMovePiece);
        const int64_t at = delta > 0 ? from + left - count : size - left;
        const std::span<uint8_t> piece(buffer.data(), static_cast<size_t>(count));
        if (ReadAt(at, piece) != piece.size())
            return make_error_code(std::errc::io_error);
        if (const auto error = WriteAt(at + delta, piece))
            return error;
        left -= count;
    }
    return SetSize(size + delta);
}

std::error_code FileContent::Remove(std::span<const Range> ranges)
{
    for (; !ranges.empty(); ranges = ranges.first(ranges.size() - 1))
        if (const auto error = Move(ranges.back().end, ranges.back().start - ranges.back().end))
            return error;
    return {};
}

} // namespace aiff
