// SPDX-License-Identifier: MIT

// How a tag is to be written.
#pragma once

#include "tags/id3parser/frames/Frame.h"

#include <cstdint>
#include <string_view>

namespace aiff
{

// What becomes of the fields and picture types that a list names.
enum class TagTask { Set, Remove };

// Keys of the options.
namespace ID3v2Option
{
inline constexpr const wchar_t* kEncodeUni = L"ID3v2EncodeUni";
inline constexpr const wchar_t* kEncodeUTF8 = L"ID3v2EncodeUTF8";
inline constexpr const wchar_t* kWriteV22 = L"ID3v2WriteV22";
inline constexpr const wchar_t* kWriteV221 = L"ID3v2WriteV221";
inline constexpr const wchar_t* kWriteV24 = L"ID3v2WriteV24";
inline constexpr const wchar_t* kFullDateInYear = L"WriteFullDateInYearTag";
inline constexpr const wchar_t* kStrictYearDate = L"WriteStrictYearDate";
} // namespace ID3v2Option

struct TagOptions {
    uint32_t textEncoding = 0; // 0 ISO-8859-1, 1 UTF-16, 2 UTF-8
    uint32_t writeVersion = 2; // 0 ID3v2.2, 1 ID3v2.2.1, 2 ID3v2.3, 3 ID3v2.4
    bool fullDateInYear = false;
    bool strictYearDate = false;

    // Sets the option that a key names; a key that names none is ignored.
    void SetOption(std::wstring_view key);

    // The revision of a tag that replaces none: there is no writing below ID3v2.3.
    id3parser::t_tagRevision NewRevision() const;
    id3parser::tagCreateArgs CreateArgs() const;
};

} // namespace aiff
