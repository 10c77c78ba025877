// A strict reader of the chunk structure, for files that the system wrote.
#pragma once

#include "AiffBuilder.h"

#include <stdexcept>

struct WalkedChunk {
    std::string code;
    size_t position; // of the header
    Bytes data;
};

struct WalkedForm {
    std::string type;
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

// Throws, saying what is wrong, unless the form fills the file, chunks lie back to
// back inside it, and every odd one is followed by a zero pad byte.
inline WalkedForm WalkStrictly(const Bytes& file)
{
    const auto require = [](bool holds, const std::string& what, size_t position) {
        if (!holds)
            throw std::runtime_error(what + " at " + std::to_string(position));
    };
    const auto text = [&](size_t at) { return std::string(&file[at], &file[at] + 4); };
    const auto number = [&](size_t at) {
        return size_t{file[at]} << 24 | size_t{file[at + 1]} << 16 | size_t{file[at + 2]} << 8 |
               file[at + 3];
    };
    require(file.size() >= 12 && text(0) == "FORM", "no form", 0);
    require(number(4) == file.size() - 8, "form size does not fit the file", 4);
    WalkedForm form{text(8), {}};
    for (size_t at = 12; at < file.size();) {
        require(file.size() - at >= 8, "torn chunk header", at);
        const size_t size = number(at + 4);
        require(size + size % 2 <= file.size() - at - 8, "chunk leaves the form", at);
        const uint8_t* const data = file.data() + at + 8;
        require(size % 2 == 0 || data[size] == 0, "pad byte not zero", at);
        form.chunks.push_back({text(at), at, Bytes(data, data + size)});
        at += 8 + size + size % 2;
    }
    return form;
}
