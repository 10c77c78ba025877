// SPDX-License-Identifier: MIT

// The header of an HTTP response: status line and fields.
#pragma once

#include "support/net/StreamFault.h"

#include <cstdint>
#include <optional>
#include <string>

namespace aiff
{

// The limit for the headers of one response together, interim ones included, in bytes.
inline constexpr size_t kMostHeadBytes = 65536;

// Which bytes of the whole a partial response holds.
struct ContentRange {
    int64_t first = 0;  // bytes from the start of the whole
    int64_t last = 0;   // inclusive
    int64_t total = -1; // -1 when the server does not say

    // The position after the last byte; the largest there is when it does not fit.
    int64_t End() const;

    bool operator==(const ContentRange&) const = default;
};

// What a response says about itself and, when it holds data, about its body. A partial
// response that gives no length has that of its range.
struct HttpHead {
    int status = 0;
    int64_t contentLength = -1; // bytes; -1 when not given, or when the body is chunked
    bool isChunked = false;
    bool servesRanges = false;
    std::optional<ContentRange> range;
    std::optional<std::string> location; // of a redirect
    std::string entityTag;

    // The body is what was asked for, or a part of it.
    bool HasData() const { return status == 200 || status == 206; }
    // Another header follows. (101 is different: it leaves HTTP.)
    bool IsInterim() const { return status >= 100 && status < 200 && status != 101; }
    bool IsRedirect() const;
};

// Size in bytes of the first header in `bytes`, including the empty line that ends it; 0
// when it is incomplete. Lines end with LF or CR LF. The first `from` bytes are known to
// hold no complete header.
size_t HeadSize(std::string_view bytes, size_t from = 0);

// Reads a complete header. Lenient about line ends, folded lines, blanks and lines that
// are not fields. BadResponse for what is not HTTP/1 and for fields that contradict
// themselves or each other, UnknownCoding for bodies that would have to be decoded. Only
// the fields that matter for the status are looked at, so that an error page may be
// anything.
[[nodiscard]] StreamFault ParseHead(std::string_view bytes, HttpHead& head);

} // namespace aiff
