// Track numbers with an optional count: "3", "3/12".

#include "tags/NTag.h"

namespace
{

XStr TwoDigits(int number)
{
    return (number >= 0 && number < 10 ? L"0" : L"") + std::to_wstring(number);
}

} // namespace

void NTag::SplitTrackNumANDCount(const XStr& text, int& track, int& count)
{
    XStr trackText;
    XStr countText;
    SplitTrackNumANDCountStr(text, trackText, countText);
    track = LeadingInteger(text);
    count = LeadingInteger(countText);
}

void NTag::SplitTrackNumANDCountStr(const XStr& text, XStr& track, XStr& count)
{
    const size_t slash = text.find(L'/');
    const std::wstring_view whole(text);
    const XStr countText(slash != XStr::npos ? Trim(whole.substr(slash + 1)) : L"");
    track = XStr(whole.substr(0, slash));
    count = countText;
}

XStr NTag::PaddedTrackNum(const XStr& name) const
{
    int track = 0;
    int count = 0;
    SplitTrackNumANDCount(GetTagValue(name), track, count);
    if (track == 0)
        return {};
    XStr text = TwoDigits(track);
    if (count != 0)
        text += L"/" + (count < 10 ? L"0" + std::to_wstring(count) : std::to_wstring(count));
    return text;
}
