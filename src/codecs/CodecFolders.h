// SPDX-License-Identifier: MIT

// Where plug-ins are looked for, and the files found there.
#pragma once

#include <string>
#include <vector>

namespace aiff::codecs
{

// The environment variable that names the folder which holds Codecs/Bin.
inline constexpr char kCodecPathVariable[] = "QVCODECPATH";

// What a plug-in is for; each kind has a folder of its own below Codecs/Bin.
enum class CodecKind { Decoder, Encoder, Dsp };

// The name of a kind, which is also that of its folder.
const char* KindName(CodecKind kind);

// Folders that may hold Codecs/Bin, best first: just the one that the environment names,
// if it names one, or else those around the running program.
std::vector<std::string> CandidateRoots();

// The first candidate that holds Codecs/Bin; empty when none does.
std::string FindRoot(const std::vector<std::string>& candidates);

// Paths of the plug-in files of one kind below `root`, sorted by name.
std::vector<std::string> PluginFiles(const std::string& root, CodecKind kind);

} // namespace aiff::codecs
