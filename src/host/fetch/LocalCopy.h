// SPDX-License-Identifier: MIT

// Copies of inputs that decoders cannot read in place: what a URL names, and standard input.
#pragma once

#include "host/base/Input.h"

#include <cstdint>
#include <functional>
#include <vector>

namespace aiff::host
{

struct LocalCopy {
    Input input; // reads from the copy, which goes with the last of its copies
    // Why the end of the content is missing, if it is.
    Problem incomplete;
};

// Is told the number of bytes received so far.
using ReceivedFunction = std::function<void(int64_t bytes)>;

// Copies a URL's content or standard input into an unnamed temporary file. URLs are fetched as
// curl does it: with its environment variables for proxies, following redirects, undoing content
// codings. A transfer that breaks off after its first byte leaves an incomplete copy; one that
// brings nothing is a problem.
Result<LocalCopy> MakeLocalCopy(const Input& input, const ReceivedFunction& received);

// Up to `size` bytes from the start of a URL's content; fewer when it ends or breaks off before.
Result<std::vector<uint8_t>> FetchStart(const Input& input, size_t size);

} // namespace aiff::host
