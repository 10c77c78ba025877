// SPDX-License-Identifier: MIT
#include "host/commands/MapText.h"

#include "host/base/Printable.h"

#include <cstdio>

namespace aiff::host
{
namespace
{

std::string Remarks(const FilePiece& piece)
{
    std::string text = piece.what;
    if (piece.isPadded)
        text += ", with a pad byte";
    if (piece.missing != 0)
        text += ", of which " + Counted(piece.missing, "byte") + " beyond the end";
    return text;
}

} // namespace

void PrintMap(const FileMap& map)
{
    if (map.pieces.empty()) {
        std::printf("  Map: none, as this is no AIFF file\n");
        return;
    }
    std::printf("  Map\n    %12s %12s  %-4s  %12s\n", "offset", "bytes", "", "of data");
    for (const FilePiece& piece : map.pieces) {
        const std::string data = piece.chunk.empty() ? "" : std::to_string(piece.dataSize);
        std::printf("    %12lld %12lld  %-4s  %12s  %s\n", static_cast<long long>(piece.position),
                    static_cast<long long>(piece.size), Printable(piece.chunk).c_str(),
                    data.c_str(), Printable(Remarks(piece)).c_str());
    }
    if (map.leftOut != 0)
        std::printf("    %s more, of %s in all, are not listed\n",
                    Counted(map.leftOut, "chunk").c_str(),
                    Counted(map.leftOutBytes, "byte").c_str());
}

Json MapJson(const FileMap& map)
{
    Json pieces = Json::array();
    for (const FilePiece& piece : map.pieces) {
        const bool isChunk = !piece.chunk.empty();
        pieces.push_back({{"offset", piece.position},
                          {"bytes", piece.size},
                          {"chunk", isChunk ? Json(piece.chunk) : Json()},
                          {"dataBytes", isChunk ? Json(piece.dataSize) : Json()},
                          {"padded", piece.isPadded},
                          {"beyondEnd", piece.missing},
                          {"what", piece.what}});
    }
    return {{"pieces", std::move(pieces)},
            {"leftOut", map.leftOut},
            {"leftOutBytes", map.leftOutBytes}};
}

} // namespace aiff::host
