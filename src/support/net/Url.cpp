// SPDX-License-Identifier: MIT
#include "support/net/Url.h"

#include "support/text/Ascii.h"

namespace aiff
{

namespace
{

constexpr std::string_view kScheme = "http://";
constexpr std::string_view kNeverInAddress = {"\r\n\0", 3};

bool IsOneOf(char c, std::string_view set)
{
    return set.find(c) != std::string_view::npos;
}

// Characters that a path or query may contain unencoded.
bool IsTargetChar(char c)
{
    return IsAsciiLetter(c) || IsAsciiDigit(c) || IsOneOf(c, "-._~!$&'()*+,;=:@/?");
}

bool IsHostChar(char c)
{
    return IsAsciiLetter(c) || IsAsciiDigit(c) || IsOneOf(c, "-._~");
}

bool IsIpv6Char(char c)
{
    return HexValue(c) >= 0 || IsOneOf(c, ":.");
}

// Percent-encodes a path or query; what is encoded already stays as it is.
std::string Encoded(std::string_view text)
{
    constexpr char kHex[] = "0123456789ABCDEF";
    std::string out;
    out.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        const bool isEncoded = c == '%' && i + 2 < text.size() && HexValue(text[i + 1]) >= 0 &&
                               HexValue(text[i + 2]) >= 0;
        if (isEncoded || IsTargetChar(c)) {
            out += c;
        } else {
            out += '%';
            out += kHex[static_cast<uint8_t>(c) >> 4];
            out += kHex[static_cast<uint8_t>(c) & 15];
        }
    }
    return out;
}

// A path without its "." and ".." segments; ".." stops at the root.
std::string WithoutDots(std::string_view path)
{
    std::string out;
    while (!path.empty()) {
        const size_t end = std::min(path.find('/', 1), path.size());
        const std::string_view segment = path.substr(0, end); // with its leading '/'
        path.remove_prefix(end);
        const bool isUp = segment == "/..";
        if (isUp)
            out.erase(std::min(out.rfind('/'), out.size()));
        else if (segment != "/.")
            out += segment;
        if (path.empty() && (isUp || segment == "/."))
            out += '/';
    }
    return out;
}

// `text` is what follows the authority, or a path of its own.
std::string TargetOf(std::string_view text)
{
    const std::string encoded = Encoded(text.substr(0, text.find('#')));
    const size_t query = std::min(encoded.find('?'), encoded.size());
    std::string path = encoded.substr(0, query);
    if (path.empty() || path.front() != '/')
        path.insert(0, 1, '/');
    return WithoutDots(path) + encoded.substr(query);
}

bool ReadPort(std::string_view text, uint16_t& port)
{
    if (text.empty()) // "host:" means the default port
        return true;
    uint32_t value = 0;
    for (const char c : text) {
        if (!IsAsciiDigit(c) || value > 0xFFFF)
            return false;
        value = value * 10 + static_cast<uint32_t>(c - '0');
    }
    port = static_cast<uint16_t>(value);
    return value != 0 && value <= 0xFFFF;
}

bool ReadAuthority(std::string_view text, Url& url)
{
    const bool isIpv6 = !text.empty() && text.front() == '[';
    std::string_view host;
    if (isIpv6) {
        const size_t end = text.find(']');
        if (end == std::string_view::npos)
            return false;
        host = text.substr(1, end - 1);
        text.remove_prefix(end + 1);
    } else {
        host = text.substr(0, text.find(':'));
        text.remove_prefix(host.size());
    }
    if (host.empty() || !std::all_of(host.begin(), host.end(), isIpv6 ? IsIpv6Char : IsHostChar))
        return false;
    if (!text.empty() && text.front() != ':')
        return false;
    url.host = host;
    url.port = 80;
    return text.empty() || ReadPort(text.substr(1), url.port);
}

bool HasScheme(std::string_view reference)
{
    size_t i = 0;
    while (i < reference.size() && (IsAsciiLetter(reference[i]) || IsAsciiDigit(reference[i]) ||
                                    IsOneOf(reference[i], "+-.")))
        ++i;
    return i != 0 && i < reference.size() && reference[i] == ':';
}

bool IsAcceptable(std::string_view text)
{
    return text.size() <= kMostUrlBytes &&
           text.find_first_of(kNeverInAddress) == std::string_view::npos;
}

} // namespace

std::string Url::HostField() const
{
    std::string field = host;
    if (host.find(':') != std::string::npos)
        field.insert(0, 1, '[').push_back(']');
    if (port != 80)
        field.append(":").append(std::to_string(port));
    return field;
}

bool IsHttpUrl(std::wstring_view name)
{
    return BeginsNoCase(name, std::wstring(kScheme.begin(), kScheme.end()));
}

StreamFault ParseUrl(std::string_view address, Url& url)
{
    if (!IsAcceptable(address) || !BeginsNoCase(address, kScheme))
        return StreamFault::BadName;
    address.remove_prefix(kScheme.size());
    const size_t end = std::min(address.find_first_of("/?#"), address.size());
    const std::string_view authority = address.substr(0, end);
    if (authority.find('@') != std::string_view::npos)
        return StreamFault::UserInName;
    if (!ReadAuthority(authority, url))
        return StreamFault::BadName;
    url.target = TargetOf(address.substr(end));
    return StreamFault::None;
}

StreamFault ResolveUrl(const Url& base, std::string_view reference, Url& url)
{
    const auto parsed = [&url](std::string_view address) {
        const bool isValid = ParseUrl(address, url) == StreamFault::None;
        return isValid ? StreamFault::None : StreamFault::RedirectWithoutTarget;
    };
    if (!IsAcceptable(reference))
        return StreamFault::RedirectWithoutTarget;
    if (BeginsNoCase(reference, kScheme))
        return parsed(reference);
    if (HasScheme(reference))
        return StreamFault::RedirectElsewhere;
    if (reference.starts_with("//"))
        return parsed("http:" + std::string(reference));
    url = base;
    reference = reference.substr(0, reference.find('#'));
    if (reference.empty())
        return StreamFault::None;
    const std::string path = base.target.substr(0, base.target.find('?'));
    if (reference.front() == '/')
        url.target = TargetOf(reference);
    else if (reference.front() == '?')
        url.target = TargetOf(path + std::string(reference));
    else
        url.target = TargetOf(path.substr(0, path.rfind('/') + 1) + std::string(reference));
    return StreamFault::None;
}

} // namespace aiff
