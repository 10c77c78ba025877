// SPDX-License-Identifier: MIT

// Tag lists as text: "name=value;name=value;". Data stands where a value would.
#pragma once

#include "AiffBuilder.h"
#include "tags/NTag.h"

#include <sstream>

using namespace aiff;

inline NTag ListOf(const XStr& items)
{
    NTag list;
    std::wistringstream in(items);
    for (XStr item; std::getline(in, item, L';');) {
        const size_t sign = item.find(L'=');
        const XStr name = item.substr(0, sign), value = item.substr(sign + 1);
        const std::string data(value.begin(), value.end());
        if (BeginsNoCase(name, kAlbumArtPrefix))
            list.AddTag(name, data.data(), data.size());
        else
            list.AddTag(name, value);
    }
    return list;
}

inline XStr Content(const NTag& list, long first = 0)
{
    XStr items;
    for (long i = first; i < list.Count(); ++i)
        items += list[i].name + L"=" + list[i].value +
                 XStr(list[i].data.begin(), list[i].data.end()) + L";";
    return items;
}

// The blob of a list, empty when there is none, and the list of a blob.
inline Bytes Encoded(const NTag& list, bool utf8 = false)
{
    XMem blob;
    const bool isEncoded = utf8 ? list.ToRawMemoryUTF8(blob) : list.ToRawMemory(blob);
    return isEncoded ? Bytes(blob.View().begin(), blob.View().end()) : Bytes();
}

inline NTag Decoded(std::span<const uint8_t> blob, bool utf8 = false)
{
    NTag list = ListOf(L"gone=x");
    const auto size = static_cast<long>(blob.size());
    utf8 ? list.InitFromRawMemoryUTF8(blob.data(), size)
         : list.InitFromRawMemory(blob.data(), size);
    return list;
}
