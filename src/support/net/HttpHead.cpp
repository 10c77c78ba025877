// SPDX-License-Identifier: MIT
#include "support/net/HttpHead.h"

#include "support/text/Ascii.h"

#include <algorithm>
#include <limits>
#include <span>

namespace aiff
{

namespace
{

constexpr int kRedirects[] = {301, 302, 303, 307, 308};

// False unless the whole text is a decimal number without a sign that fits.
bool ReadNumber(std::string_view text, int64_t& number)
{
    if (text.empty())
        return false;
    number = 0;
    for (const char c : text) {
        const int64_t digit = c - '0';
        if (!IsAsciiDigit(c) || number > (std::numeric_limits<int64_t>::max() - digit) / 10)
            return false;
        number = number * 10 + digit;
    }
    return true;
}

// "HTTP/1.1 200 OK": any minor version, and any words after the number.
bool ReadStatusLine(std::string_view line, int& status)
{
    constexpr std::string_view kVersion = "HTTP/1.";
    if (!line.starts_with(kVersion))
        return false;
    line.remove_prefix(kVersion.size());
    const std::string_view minor = TakeUntil(line, ' ');
    line = Trim(line);
    int64_t number = 0;
    if (minor.size() != 1 || !IsAsciiDigit(minor[0]) ||
        !ReadNumber(line.substr(0, line.find(' ')), number) || number < 100 || number > 999)
        return false;
    status = static_cast<int>(number);
    return true;
}

// A length may be repeated, in a list or on several lines, but must not change.
StreamFault ReadContentLength(std::string_view value, HttpHead& head)
{
    do {
        int64_t length = 0;
        if (!ReadNumber(Trim(TakeUntil(value, ',')), length) ||
            (head.contentLength >= 0 && head.contentLength != length))
            return StreamFault::BadResponse;
        head.contentLength = length;
    } while (!value.empty());
    return StreamFault::None;
}

// Only "chunked" can be undone here. Proxies that repeat the field have chunked the body
// once all the same.
StreamFault ReadTransferEncoding(std::string_view value, HttpHead& head)
{
    while (!value.empty()) {
        const std::string_view coding = Trim(TakeUntil(value, ','));
        if (coding.empty() || EqualNoCase(coding, "identity"))
            continue;
        if (!EqualNoCase(coding, "chunked"))
            return StreamFault::UnknownCoding;
        head.isChunked = true;
    }
    return StreamFault::None;
}

StreamFault ReadContentEncoding(std::string_view value, HttpHead&)
{
    const bool isPlain = value.empty() || EqualNoCase(value, "identity");
    return isPlain ? StreamFault::None : StreamFault::UnknownCoding;
}

StreamFault ReadAcceptRanges(std::string_view value, HttpHead& head)
{
    while (!value.empty())
        if (EqualNoCase(Trim(TakeUntil(value, ',')), "bytes"))
            head.servesRanges = true;
    return StreamFault::None;
}

// "bytes 100-199/1000", where the total may be "*". Other forms say nothing about the body.
StreamFault ReadContentRange(std::string_view value, HttpHead& head)
{
    const std::string_view unit = TakeUntil(value, ' ');
    const std::string_view first = Trim(TakeUntil(value, '-'));
    const std::string_view last = Trim(TakeUntil(value, '/'));
    const std::string_view total = Trim(value);
    ContentRange range;
    if (!EqualNoCase(unit, "bytes") || !ReadNumber(first, range.first) ||
        !ReadNumber(last, range.last) || (total != "*" && !ReadNumber(total, range.total)) ||
        range.last < range.first || (total != "*" && range.total <= range.last))
        return StreamFault::None;
    if (head.range.has_value() && head.range != range)
        return StreamFault::BadResponse;
    head.range = range;
    return StreamFault::None;
}

StreamFault ReadLocation(std::string_view value, HttpHead& head)
{
    if (head.location.has_value() && *head.location != value)
        return StreamFault::BadResponse;
    head.location = value;
    return StreamFault::None;
}

StreamFault ReadEntityTag(std::string_view value, HttpHead& head)
{
    head.entityTag = value;
    return StreamFault::None;
}

struct FieldRule {
    std::string_view name;
    StreamFault (*read)(std::string_view value, HttpHead& head);
};

constexpr FieldRule kDataFields[] = {
    {"Content-Length", ReadContentLength},     {"Transfer-Encoding", ReadTransferEncoding},
    {"Content-Encoding", ReadContentEncoding}, {"Accept-Ranges", ReadAcceptRanges},
    {"Content-Range", ReadContentRange},       {"ETag", ReadEntityTag},
};

constexpr FieldRule kRedirectFields[] = {
    {"Location", ReadLocation},
};

std::span<const FieldRule> FieldsOf(const HttpHead& head)
{
    if (head.HasData())
        return kDataFields;
    return head.IsRedirect() ? std::span<const FieldRule>(kRedirectFields)
                             : std::span<const FieldRule>();
}

// A line without a colon is not a field and is skipped.
StreamFault ReadField(std::string_view line, HttpHead& head)
{
    const size_t colon = line.find(':');
    if (colon == std::string_view::npos)
        return StreamFault::None;
    const std::string_view name = Trim(line.substr(0, colon));
    for (const FieldRule& rule : FieldsOf(head))
        if (EqualNoCase(rule.name, name))
            return rule.read(Trim(line.substr(colon + 1)), head);
    return StreamFault::None;
}

// The next line, together with those that continue it: they begin with a blank.
std::string TakeLine(std::string_view& bytes)
{
    std::string line(Trim(TakeUntil(bytes, '\n')));
    while (!bytes.empty() && (bytes.front() == ' ' || bytes.front() == '\t'))
        line.append(" ").append(Trim(TakeUntil(bytes, '\n')));
    return line;
}

} // namespace

int64_t ContentRange::End() const
{
    return std::min(last, std::numeric_limits<int64_t>::max() - 1) + 1;
}

bool HttpHead::IsRedirect() const
{
    return std::find(std::begin(kRedirects), std::end(kRedirects), status) != std::end(kRedirects);
}

size_t HeadSize(std::string_view bytes, size_t from)
{
    // The end may have begun up to three bytes earlier.
    for (size_t i = from < 3 ? 0 : from - 3; i < bytes.size(); ++i) {
        if (bytes[i] != '\n')
            continue;
        const size_t next = i + 1 < bytes.size() && bytes[i + 1] == '\r' ? i + 2 : i + 1;
        if (next < bytes.size() && bytes[next] == '\n')
            return next + 1;
    }
    return 0;
}

StreamFault ParseHead(std::string_view bytes, HttpHead& head)
{
    head = {};
    if (bytes.find('\0') != std::string_view::npos || !ReadStatusLine(TakeLine(bytes), head.status))
        return StreamFault::BadResponse;
    while (!bytes.empty()) {
        const StreamFault fault = ReadField(TakeLine(bytes), head);
        if (fault != StreamFault::None)
            return fault;
    }
    // The chunks say where the body ends, whatever else is said about its length.
    if (head.isChunked)
        head.contentLength = -1;
    else if (head.status == 206 && head.range.has_value() && head.contentLength < 0)
        head.contentLength = head.range->End() - head.range->first;
    return StreamFault::None;
}

} // namespace aiff
