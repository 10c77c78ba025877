// SPDX-License-Identifier: MIT

// A strict reader of the chunk structure, for files that the system wrote.
#pragma once

#include "AiffBuilder.h"

#include <stdexcept>

struct WalkedChunk {
    std::string code;
    Bytes data;
    size_t position = 0; // of the header

    bool IsTag() const { return code == "ID3 " || code == "id3 "; }
    bool operator==(const WalkedChunk& other) const
    {
        return code == other.code && data == other.data;
    }
};

struct WalkedForm {
    std::vector<WalkedChunk> chunks;

    // The only chunk of that code; throws when there is none or another one.
    const WalkedChunk& Only(const std::string& code) const
    {
        const auto is = [&](const WalkedChunk& chunk) { return chunk.code == code; };
        if (std::count_if(chunks.begin(), chunks.end(), is) != 1)
            throw std::runtime_error("not one chunk " + code);
        return *std::find_if(chunks.begin(), chunks.end(), is);
    }
};

// A 32-bit number of a file.
inline size_t Number(const Bytes& file, size_t at)
{
    return size_t{file[at]} << 24 | size_t{file[at + 1]} << 16 | size_t{file[at + 2]} << 8 |
           file[at + 3];
}

// A chunk with so many bytes of data, which must be there.
inline WalkedChunk ChunkAt(const Bytes& file, size_t at, size_t size)
{
    const auto data = file.begin() + static_cast<ptrdiff_t>(at) + 8;
    return {std::string(data - 8, data - 4), Bytes(data, data + static_cast<ptrdiff_t>(size)), at};
}

// Throws, saying what is wrong, unless the form fills the file, chunks lie back to
// back inside it, and every odd one is followed by a zero pad byte.
inline WalkedForm WalkStrictly(const Bytes& file)
{
    const auto require = [](bool holds, const std::string& what, size_t position) {
        if (!holds)
            throw std::runtime_error(what + " at " + std::to_string(position));
    };
    require(file.size() >= 12 && ChunkAt(file, 0, 0).code == "FORM", "no form", 0);
    require(Number(file, 4) == file.size() - 8, "form size does not fit the file", 4);
    WalkedForm form;
    for (size_t at = 12; at < file.size();) {
        require(file.size() - at >= 8, "torn chunk header", at);
        const size_t size = Number(file, at + 4);
        require(size + size % 2 <= file.size() - at - 8, "chunk leaves the form", at);
        require(size % 2 == 0 || file[at + 8 + size] == 0, "pad byte not zero", at);
        form.chunks.push_back(ChunkAt(file, at, size));
        at += 8 + size + size % 2;
    }
    return form;
}
