#pragma once

#include "host/session/DecoderSession.h"

#include <string>

namespace host
{

// Why a session failed, as one line for a person without the file's name.
Problem FailureReason(const DecoderSession& session);

// Why the tags of a file could not be changed, from the decoder's error lines.
Problem EditFailureReason(const Input& input, const std::vector<std::string>& errors);

// What is wrong with an input that can be decoded all the same: its sound data is
// shorter than the file says. Empty when nothing is.
Problem DamageWarning(const DecoderSession& session);

} // namespace host
