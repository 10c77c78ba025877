// Addresses that begin with "http://".
#pragma once

#include "support/net/StreamFault.h"

#include <cstdint>
#include <string>

// What a request needs of an address. All texts are printable ASCII without blanks.
struct STUrl {
    std::string host; // name or number; an IPv6 number stands without its brackets
    uint16_t nPort = 80;
    std::string target; // path and query, percent-encoded; begins with '/'

    // The value of the Host field.
    std::string HostField() const;
};

// The longest address that is accepted, in bytes: what common servers take.
inline constexpr size_t kMostUrlBytes = 16384;

// Takes an address apart. Bytes that may not stand in an address are encoded, a
// fragment is dropped, "." and ".." in the path are resolved. False for anything that
// does not begin with "http://" (in any case), names no host, carries a user name or
// holds a line end or zero byte.
[[nodiscard]] bool ParseUrl(std::string_view address, STUrl& url);

// The address that a redirect from `base` names: absolute, or relative to `base`.
// RedirectElsewhere for any scheme but http.
[[nodiscard]] StreamFault ResolveUrl(const STUrl& base, std::string_view reference, STUrl& url);
