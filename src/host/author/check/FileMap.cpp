// SPDX-License-Identifier: MIT
#include "host/author/check/FileMap.h"

#include <algorithm>
#include <string_view>

namespace aiff::host
{
namespace
{

constexpr size_t kMostPieces = 1000;

struct Purpose {
    std::string_view code;
    const char* what;
    bool isLandmark = false; // listed wherever it lies, if there are not too many
};

constexpr Purpose kPurposes[] = {
    {"COMM", "format of the sound", true},
    {"SSND", "sound", true},
    {"ID3 ", "tag (ID3v2)", true},
    {"id3 ", "tag (ID3v2)", true},
    {"FVER", "version of AIFF-C"},
    {"NAME", "title"},
    {"AUTH", "author"},
    {"(c) ", "copyright"},
    {"ANNO", "annotation"},
    {"COMT", "comments"},
    {"MARK", "markers", true},
    {"INST", "instrument: base note, loops", true},
    {"MIDI", "MIDI data"},
    {"AESD", "channel status of a digital recording"},
    {"APPL", "data of one program"},
    {"bext", "broadcast data"},
    {"iXML", "production data (iXML)"},
    {"_PMX", "metadata (XMP)"},
    {"CHAN", "loudspeakers of the channels"},
    {"PEAK", "peak levels"},
    {"basc", "tempo and key of a loop"},
    {"trns", "transients of a loop"},
    {"cate", "categories of a loop"},
    {"AFAn", "data of one program"},
    {"FLLR", "filler"},
    {"JUNK", "filler"},
};

const Purpose* Find(const std::string& code)
{
    const auto* const found = std::ranges::find(kPurposes, code, &Purpose::code);
    return found == std::end(kPurposes) ? nullptr : found;
}

} // namespace

const char* ChunkPurpose(const std::string& code)
{
    const Purpose* const purpose = Find(code);
    return purpose == nullptr ? "unknown" : purpose->what;
}

void FileMap::Add(FilePiece piece)
{
    const Purpose* const purpose = Find(piece.chunk);
    const bool isLandmark = piece.chunk.empty() || (purpose != nullptr && purpose->isLandmark);
    if (pieces.size() < (isLandmark ? 2 * kMostPieces : kMostPieces)) {
        pieces.push_back(std::move(piece));
        return;
    }
    ++leftOut;
    leftOutBytes += piece.size;
}

} // namespace aiff::host
