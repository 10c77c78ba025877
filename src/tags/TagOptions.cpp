// SPDX-License-Identifier: MIT
#include "tags/TagOptions.h"

#include "tags/id3parser/text/TextEncodings.h"

#include <algorithm>
#include <array>

namespace aiff
{

void TagOptions::SetOption(std::wstring_view key)
{
    if (key == ID3v2Option::kEncodeUni)
        textEncoding = 1;
    else if (key == ID3v2Option::kEncodeUTF8)
        textEncoding = 2;
    else if (key == ID3v2Option::kWriteV22)
        writeVersion = 0;
    else if (key == ID3v2Option::kWriteV221)
        writeVersion = 1;
    else if (key == ID3v2Option::kWriteV24)
        writeVersion = 3;
    else if (key == ID3v2Option::kFullDateInYear)
        fullDateInYear = true;
    else if (key == ID3v2Option::kStrictYearDate)
        strictYearDate = true;
}

id3parser::t_tagRevision TagOptions::NewRevision() const
{
    return writeVersion == 3 ? id3parser::kRevision4 : id3parser::kRevision3;
}

id3parser::tagCreateArgs TagOptions::CreateArgs() const
{
    constexpr std::array<uint8_t, 3> kEncodings = {
        id3parser::kEncodingISO, id3parser::kEncodingUTF16, id3parser::kEncodingUTF8};
    id3parser::tagCreateArgs args;
    args.encoding = kEncodings[std::min<size_t>(textEncoding, kEncodings.size() - 1)];
    args.fullDateInYear = fullDateInYear;
    return args;
}

} // namespace aiff
