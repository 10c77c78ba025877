// The tag blob: what was decoded is encoded and decoded again without a change. The
// first byte of an input chooses the form.

#include "Fuzz.h"
#include "tags/NTag.h"

namespace
{

NTag Decode(bool utf8, std::span<const uint8_t> blob)
{
    NTag tags;
    const auto size = static_cast<long>(blob.size());
    utf8 ? tags.InitFromRawMemoryUTF8(blob.data(), size)
         : tags.InitFromRawMemory(blob.data(), size);
    return tags;
}

XMem Encode(bool utf8, const NTag& tags)
{
    XMem blob;
    Require(utf8 ? tags.ToRawMemoryUTF8(blob) : tags.ToRawMemory(blob), "a list can be encoded");
    return blob;
}

// Operations whose input is free text.
void UseHelpers(NTag& tags)
{
    XStr description, subDescription;
    int track = 0, count = 0;
    for (long i = 0; i < tags.Count(); ++i) {
        NTag::SpiltAlbumArtDesctiptionLine(tags[i].name, description, subDescription);
        Require(description.size() + subDescription.size() <= tags[i].name.size(), "parts fit");
        NTag::SplitTrackNumANDCount(tags[i].value, track, count);
        tags.PaddedTrackNum(tags[i].name);
    }
    tags.GetAlbumArt(1, description, subDescription);
    NTag merged;
    merged.MergeFrom(tags, true);
    const long names = merged.Count();
    merged.MergeFrom(tags, false);
    Require(merged.Count() == names, "a second merge adds nothing");
    tags.DropTagsBeginUnderScore(NTag::kKeepAlbumArt);
    tags.RemoveTagsBiggerThan(100);
}

} // namespace

std::vector<Bytes> Seeds()
{
    NTag tags;
    tags.AddTag(XStr(L"Title"), XStr(L"\u20AC\U0001F3B5"));
    tags.AddTag(XStr(L"Track"), XStr(L"3/12"));
    tags.AddTag(XStr(L"_albumart_1_Media<subdesc>x"), "\xFF\xD8", 2);
    std::vector<Bytes> seeds;
    for (const bool utf8 : {false, true}) {
        const XMem blob = Encode(utf8, tags);
        seeds.push_back(Join({{utf8}, Bytes(blob.View().begin(), blob.View().end())}));
    }
    return seeds;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size)
{
    if (size == 0)
        return 0;
    const bool utf8 = (bytes[0] & 1) != 0;
    NTag first = Decode(utf8, {bytes + 1, size - 1});
    const NTag second = Decode(utf8, Encode(utf8, first).View());
    Require(first.Count() == second.Count(), "no item is lost");
    for (long i = 0; i < first.Count(); ++i)
        Require(first[i].name == second[i].name && first[i].value == second[i].value &&
                    first[i].data == second[i].data,
                "items come back as they were");
    UseHelpers(first);
    return 0;
}
