// SPDX-License-Identifier: MIT

// Which fields of the boundary's records a call has written.
#pragma once

#include "qvcodec.h"

#include <set>
#include <string>
#include <string_view>

namespace aiff::host::validate
{

using FieldNames = std::set<std::string_view>;

// Names the fields that differ between two records, but for those in `allowed`; empty when
// there are none. The parts of a wave format that a plug-in does not write are
// "WaveFormat.nValidBits" to "WaveFormat.SubFormat", the rest of it is "WaveFormat".
std::string ChangedFields(const STQvOpenDecoder& before, const STQvOpenDecoder& after,
                          const FieldNames& allowed);
std::string ChangedFields(const STQvAudioBlock& before, const STQvAudioBlock& after,
                          const FieldNames& allowed);
std::string ChangedFields(const STQvCodecGetSet& before, const STQvCodecGetSet& after,
                          const FieldNames& allowed);

} // namespace aiff::host::validate
