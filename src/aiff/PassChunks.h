// SPDX-License-Identifier: MIT

// Chunks that are passed through into a new file.
#pragma once

#include "support/XMem.h"

#include <cstdint>
#include <vector>

namespace aiff
{

struct STPassAIFFChunks {
    uint32_t code = 0; // first character in the low byte
    XMem data;         // may be empty
};

// An owning list of chunks, in the order in which they are to be written.
class clPassAIFFChunks
{
public:
    // Adds a chunk with a copy of `size` bytes. With `beforeSound` it is inserted before
    // the last sound chunk of the list; otherwise, and when there is none, it is appended.
    void AddInternal(uint32_t code, const void* data, uint32_t size, bool beforeSound);

    // Index of the first chunk with a code, or -1; `fold` as in clAIFFHandler::CompareID.
    int FindChunk(const char* text, bool fold) const;

    int Count() const { return static_cast<int>(m_chunks.size()); }
    const STPassAIFFChunks& operator[](int index) const
    {
        return m_chunks[static_cast<size_t>(index)];
    }

private:
    std::vector<STPassAIFFChunks> m_chunks;
};

} // namespace aiff
