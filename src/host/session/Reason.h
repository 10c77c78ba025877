// SPDX-License-Identifier: MIT

// What the lines of a decoder's report mean, in words for people.
#pragma once

#include "host/base/Problem.h"
#include "host/session/DecoderSession.h"

#include <string>
#include <vector>

namespace aiff::host
{

// Why a session failed to open or to decode its input.
Problem FailureReason(const DecoderSession& session);

// Why the tags of a file could not be changed, from the decoder's error lines.
Problem EditFailureReason(const Input& input, const std::vector<std::string>& errors);

// What a successful change of tags did besides, from the decoder's information lines.
std::vector<std::string> EditNotes(const std::vector<std::string>& information);

// What is wrong with an input that could still be decoded: its sound is cut off.
Problem DamageWarning(const DecoderSession& session);

inline constexpr char kSoundIsCut[] = "is cut off: its sound data is shorter than the file says";

} // namespace aiff::host
