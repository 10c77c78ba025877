// SPDX-License-Identifier: MIT

// Copies of inputs that decoders cannot read in place: what a URL names, and standard input.
#pragma once

#include "host/base/Input.h"

#include <cstdint>
#include <functional>
#include <span>

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

// Is given the start of some content, as far as it has come, and the size of the whole content in
// bytes, -1 if that is unknown. True when no more is needed.
using EnoughFunction = std::function<bool(std::span<const uint8_t> start, int64_t whole)>;

// Looks at the start of a URL's content.
//
// most      bytes that are fetched if nothing else ends it
// returns why the bytes break off, if they do
Problem FetchStart(const Input& input, size_t most, const EnoughFunction& isEnough);

} // namespace aiff::host
