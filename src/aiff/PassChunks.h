// Chunks that a new file takes over from elsewhere.
#pragma once

#include "support/XMem.h"

#include <cstdint>
#include <vector>

struct STPassAIFFChunks {
    uint32_t code = 0; // first character in the low byte
    XMem data;         // may be empty
};

// An owning list in the order in which the chunks are to stand.
class clPassAIFFChunks
{
public:
    // Adds a chunk with a copy of `size` bytes. With `beforeSound` it goes in front of
    // the last sound chunk of the list, else, or when there is none, to the end.
    void AddInternal(uint32_t code, const void* data, uint32_t size, bool beforeSound);

    // Index of the first chunk with that code, or -1; folding as in clAIFFHandler.
    int FindChunk(const char* text, bool fold) const;

    int Count() const { return static_cast<int>(m_chunks.size()); }
    const STPassAIFFChunks& operator[](int index) const
    {
        return m_chunks[static_cast<size_t>(index)];
    }

private:
    std::vector<STPassAIFFChunks> m_chunks;
};
