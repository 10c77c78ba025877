// SPDX-License-Identifier: MIT
#include "host/commands/OutputName.h"

#include "host/base/Input.h"
#include "support/text/Ascii.h"

#include <algorithm>

namespace aiff::host
{
namespace
{

struct WrittenFormat {
    std::string_view ending;
    std::string_view format;
    const char* writer; // what makes such a file
};

constexpr WrittenFormat kWritten[] = {
    {".wav", "WAV", "\"aiffconv convert --format wav\""},
    {".wave", "WAV", "\"aiffconv convert --format wav\""},
    {".flac", "FLAC", "\"aiffconv convert --format flac\""},
    {".aiff", "AIFF", "\"aiffconv encode\""},
    {".aif", "AIFF", "\"aiffconv encode\""},
};

// Endings of formats that no command writes, whatever the user says.
constexpr std::string_view kForeign[] = {
    ".3gp", ".aac",  ".ac3", ".aifc", ".alac", ".amr", ".ape",  ".au",  ".bwf", ".caf",
    ".dsf", ".m4a",  ".mka", ".mp2",  ".mp3",  ".mp4", ".mpc",  ".oga", ".ogg", ".opus",
    ".ra",  ".rf64", ".snd", ".tta",  ".voc",  ".w64", ".webm", ".wma", ".wv"};

// "Opus 1. Allegro" and "No. 5" have no ending.
bool IsEnding(std::string_view extension)
{
    constexpr size_t kLongest = 6; // with the dot
    const auto isLetter = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); };
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    return extension.size() >= 2 && extension.size() <= kLongest &&
           std::ranges::any_of(extension, isLetter) &&
           std::ranges::all_of(extension.substr(1),
                               [&](char c) { return isLetter(c) || isDigit(c); });
}

} // namespace

Problem OutputNameProblem(const std::string& output, std::string_view format, FormatChoice choice)
{
    const std::string ending = Input(output).Extension();
    const auto isIt = [&](std::string_view known) { return EqualNoCase(known, ending); };
    for (const WrittenFormat& written : kWritten) {
        if (!isIt(written.ending) || written.format == format)
            continue;
        return "'" + output + "' would hold " + std::string(format) + ", and its name says " +
               std::string(written.format) + ", which " + written.writer + " writes";
    }
    const bool isWritten = std::ranges::any_of(kWritten, isIt, &WrittenFormat::ending);
    const bool isForeign = std::ranges::any_of(kForeign, isIt);
    if (isWritten || !IsEnding(ending) || (choice == FormatChoice::ByOption && !isForeign))
        return {};
    return "'" + output + "' ends in '" + ending +
           "', which no command of aiffconv writes: \"convert\" writes .wav and .flac, \"encode\" "
           ".aiff and .aif";
}

} // namespace aiff::host
