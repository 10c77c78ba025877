#pragma once

#include "host/session/DecoderSession.h"

#include <string>

namespace host
{

// Why a session failed, as one line for a person without the file's name.
std::string FailureReason(const DecoderSession& session);

// Why the tags of a file could not be changed, from the decoder's error lines.
std::string EditFailureReason(const Input& input, const std::vector<std::string>& errors);

// What is wrong with an input that can be decoded all the same: its sound data is
// shorter than the file says. Empty when nothing is.
std::string DamageWarning(const DecoderSession& session);

} // namespace host
