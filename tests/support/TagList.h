// Tag lists as text: "name=value;name=value;". Data stands where a value would.
#pragma once

#include "tags/NTag.h"

#include <sstream>

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
