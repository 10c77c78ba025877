// SPDX-License-Identifier: MIT

// Where the parts of an AIFF file lie.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace aiff::host
{

// A piece of the file. The pieces follow each other from its first byte to its last.
struct FilePiece {
    int64_t position = 0;
    int64_t size = 0;     // bytes in the file, those of header and pad byte included
    std::string chunk;    // its code; empty for what is no chunk
    int64_t dataSize = 0; // that of a chunk, as its header says
    bool isPadded = false;
    int64_t missing = 0; // bytes of the data that lie beyond the end of the form or of the file
    std::string what;    // for people: what it is for
};

// A file may consist of millions of chunks, so most of them are only counted where there are many.
struct FileMap {
    std::vector<FilePiece> pieces; // in the order of the file
    int64_t leftOut = 0;           // pieces that are not listed
    int64_t leftOutBytes = 0;

    void Add(FilePiece piece);
};

// What a chunk with the code is for, in a few words.
const char* ChunkPurpose(const std::string& code);

} // namespace aiff::host
