// The header of an HTTP answer: status line and fields.
#pragma once

#include "support/net/StreamFault.h"

#include <cstdint>
#include <optional>
#include <string>

// Most bytes of the headers of one answer, interim ones included.
inline constexpr size_t kMostHeadBytes = 65536;

// Which bytes of how many a partial answer holds.
struct STContentRange {
    int64_t nFirst = 0;
    int64_t nLast = 0;   // inclusive
    int64_t nTotal = -1; // -1: the server does not tell

    bool operator==(const STContentRange&) const = default;
};

// What an answer says about itself and its body. A partial answer without a length has
// that of its range.
struct STHttpHead {
    int nStatus = 0;
    int64_t nContentLength = -1; // bytes; -1 when not told, or when the body is chunked
    bool isChunked = false;
    bool servesRanges = false;
    std::optional<STContentRange> range;
    std::optional<std::string> location;
    std::string entityTag;

    // Another header follows; 101 leaves HTTP instead.
    bool IsInterim() const { return nStatus >= 100 && nStatus < 200 && nStatus != 101; }
    bool IsRedirect() const;
};

// Bytes of the first header in `bytes`, with the empty line that ends it; 0 when it
// is not complete. Lines end with LF or CR LF. `from` is a place before which no
// search is needed.
size_t HeadSize(std::string_view bytes, size_t from = 0);

// Reads a complete header. Lenient about line ends, folded lines, blanks and lines
// that are no fields. BadResponse for what is not HTTP/1 and for fields that
// contradict themselves or each other, UnknownCoding for bodies that would have to be
// decoded.
[[nodiscard]] StreamFault ParseHead(std::string_view bytes, STHttpHead& head);
