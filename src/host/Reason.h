#pragma once

#include "host/DecoderSession.h"

#include <string>

namespace host
{

// Why a session failed, as one line for a person without the file's name.
std::string FailureReason(const DecoderSession& session);

// What is wrong with an input that can be decoded all the same: its sound data is
// shorter than the file says. Empty when nothing is.
std::string DamageWarning(const DecoderSession& session);

} // namespace host
