// The attributes of a file besides its data. One implementation per platform.
#pragma once

#include <system_error>

namespace aiff
{

// Copies the extended attributes, access control lists included, from one open file to
// another. Fails when one of them cannot be copied.
[[nodiscard]] std::error_code CopyExtendedAttributes(int from, int to);

} // namespace aiff
