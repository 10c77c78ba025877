// SPDX-License-Identifier: MIT

// Addresses that begin with "http://".
#pragma once

#include "support/net/StreamFault.h"

#include <cstdint>
#include <string>

namespace aiff
{

// What a request needs from an address. All texts are printable ASCII without blanks.
struct Url {
    std::string host; // name or number; an IPv6 number has no brackets here
    uint16_t port = 80;
    std::string target; // path and query, percent-encoded; begins with '/'

    // The value of the Host field.
    std::string HostField() const;
};

// The longest address accepted, in bytes: as much as common servers take.
inline constexpr size_t kMostUrlBytes = 16384;

// Whether a name is an address for this client: it begins with "http://", in any case.
bool IsHttpUrl(std::wstring_view name);

// Takes an address apart. Bytes that an address may not contain are encoded, a fragment is
// dropped, "." and ".." in the path are resolved. BadName for anything that
// does not begin with "http://" (in any case), names no host or holds a line end or zero
// byte, UserInName for a user name or password before the host: without encryption they
// would be everybody's to read.
[[nodiscard]] StreamFault ParseUrl(std::string_view address, Url& url);

// The address that a redirect from `base` names: absolute, or relative to `base`.
// RedirectElsewhere for any scheme but http, RedirectWithoutTarget for a bad address.
[[nodiscard]] StreamFault ResolveUrl(const Url& base, std::string_view reference, Url& url);

} // namespace aiff
