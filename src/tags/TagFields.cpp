// SPDX-License-Identifier: MIT
#include "tags/TagFields.h"

#include "support/text/Ascii.h"
#include "tags/id3parser/bytes/Errors.h"
#include "tags/id3parser/frames/FrameReader.h"

#include <algorithm>

namespace aiff
{

int64_t TagSizeFromHeader(std::span<const uint8_t> bytes)
{
    id3parser::streamInMem in(bytes);
    try {
        const id3parser::TagHeader header = id3parser::ReadTagHeader(in);
        if (header.flags & id3parser::tagFlags::kUnknown_v4)
            return 0;
        const size_t ends = header.flags & id3parser::tagFlags::kFooter ? 2 : 1;
        return static_cast<int64_t>(header.size + ends * id3parser::kTagHeaderSize);
    } catch (const id3parser::parseError&) {
        return 0;
    }
}

std::string_view PreTranslateField(std::string_view name)
{
    if (EqualNoCase(name, "content group description"))
        return "style";
    if (EqualNoCase(name, "ITUNNORM"))
        return "COMMENT ITUNNORM";
    return name;
}

bool isMultiValField(std::string_view name)
{
    constexpr std::string_view kSingle[] = {"LYRICS", "UNSYNCED LYRICS", "COMMENT"};
    return std::ranges::none_of(kSingle,
                                [=](std::string_view single) { return EqualNoCase(name, single); });
}

} // namespace aiff
