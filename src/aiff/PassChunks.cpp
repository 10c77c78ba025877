// SPDX-License-Identifier: MIT
#include "aiff/PassChunks.h"

#include "aiff/AIFFHandler.h"

#include <new>

namespace aiff
{

void clPassAIFFChunks::AddInternal(uint32_t code, const void* data, uint32_t size, bool beforeSound)
{
    STPassAIFFChunks chunk;
    chunk.code = code;
    if (size != 0 && data != nullptr &&
        !chunk.data.Assign({static_cast<const uint8_t*>(data), size}))
        throw std::bad_alloc();
    auto at = m_chunks.end();
    if (beforeSound)
        for (auto it = m_chunks.begin(); it != m_chunks.end(); ++it)
            if (clAIFFHandler::CompareID(it->code, kChunkSound, true))
                at = it;
    m_chunks.insert(at, std::move(chunk));
}

int clPassAIFFChunks::FindChunk(const char* text, bool fold) const
{
    for (int index = 0; index < Count(); ++index)
        if (clAIFFHandler::CompareID((*this)[index].code, text, fold))
            return index;
    return -1;
}

} // namespace aiff
