// Fuzzes the ID3v2 tag reader and the edit of a tag in memory.
//
// Input: a byte of options, a byte with the size of a tag blob in units of 4 bytes,
// the blob, then the tag. Properties: the ways of reading agree; a list that was read
// and is written back changes nothing that reading shows; an edit keeps every frame
// that it does not concern.
#include "Fuzz.h"
#include "support/TempDir.h"
#include "tags/NTag.h"
#include "tags/TagFields.h"
#include "tags/TagPictures.h"
#include "tags/TagUpdate.h"
#include "tags/id3parser/Errors.h"
#include "tags/id3parser/FrameRules.h"
#include "tags/id3parser/FrameToMeta.h"
#include "tags/id3parser/RawFrames.h"

#include <algorithm>
#include <map>
#include <span>
#include <string>
#include <vector>

using View = std::span<const uint8_t>;
using id3parser::t_frame;
using id3parser::t_tag;

namespace
{

// Hands the tag out in pieces and does not tell how long it is.
class Trickle : public id3parser::streamIn
{
public:
    explicit Trickle(View bytes) : m_in(bytes) {}
    size_t read(void* buffer, size_t size) override { return m_in.read(buffer, size); }
    size_t skip(size_t size) override { return m_in.skip(size); }

private:
    id3parser::streamInMem m_in;
};

bool Parse(id3parser::streamIn& in, t_tag& tag)
{
    try {
        id3parser::parseCallback everything;
        tag.Parse(in, everything);
        return true;
    } catch (const id3parser::parseError&) {
        return false;
    }
}

// What a list says, but for the order and the numbers of its pictures.
std::multimap<XStr, std::vector<uint8_t>> Meaning(const NTag& list)
{
    std::multimap<XStr, std::vector<uint8_t>> meaning;
    for (long i = 1; i < list.Count(); ++i) {
        XStr description, subDescription;
        if (IsAlbumArt(list[i]))
            NTag::SpiltAlbumArtDesctiptionLine(list[i].name, description, subDescription);
        const XStr name = IsAlbumArt(list[i]) ? L"picture " + description + L"|" + subDescription
                                              : list[i].name + L"=" + list[i].value;
        meaning.emplace(name, list[i].data);
    }
    return meaning;
}

struct Edit {
    std::vector<View> oldTags;
    TagOptions options;
    bool remove = false;

    bool Run(const NTag& list, std::vector<uint8_t>& tag) const
    {
        TagUpdate update(options, oldTags);
        update.Apply(list, remove);
        return update.Build() && update.Finish(0, 0, 1, tag);
    }
};

NTag ThroughBlob(const NTag& list)
{
    XMem blob;
    NTag back;
    if (list.ToRawMemory(blob))
        back.InitFromRawMemory(blob.Data(), static_cast<long>(blob.Used()));
    return back;
}

void CheckParsing(View bytes)
{
    t_tag fromMemory, fromStream;
    id3parser::streamInMem memory(bytes);
    Trickle stream(bytes);
    const bool parses = Parse(memory, fromMemory);
    Require(Parse(stream, fromStream) == parses, "memory and stream parse alike");
    Require(fromMemory.Frames() == fromStream.Frames(), "memory and stream have the same frames");

    const id3parser::RawTag raw = id3parser::WalkRawFrames(bytes);
    Require(raw.parses == parses, "the walk knows whether the tag parses");
    if (parses && !raw.plainSizes) {
        t_tag::FrameList shown;
        for (const id3parser::RawFrame& frame : raw.frames)
            if (!DecodeRawFrame(frame, raw.revision, shown.emplace_back()))
                shown.pop_back();
        Require(shown == fromMemory.Frames(), "the walk shows what the parser shows");
    }
    for (const bool strict : {false, true}) {
        try {
            id3parser::metaMap map;
            tag_to_metaMap(fromMemory, map, strict);
        } catch (const id3parser::parseError&) {
            Require(strict, "lenient reading does not throw");
        }
    }
    for (const t_frame& frame : fromMemory.Frames()) {
        uint64_t delay = 0, length = 0;
        extractAppleGapless(frame, delay, length);
        frame.getPictureType();
    }
}

// The frames that no field represents and that are no pictures, as bytes.
std::string UnknownFrames(View bytes)
{
    std::string unknown;
    const id3parser::RawTag raw = id3parser::WalkRawFrames(bytes);
    for (const id3parser::RawFrame& frame : raw.frames)
        if (frame.header.id != 0 && frame.header.id != id3parser::kFrameAPIC &&
            id3parser::RuleForFrame(frame.header.id) == nullptr)
            unknown.append(std::to_string(frame.header.id))
                .append(std::to_string(frame.header.formatFlags))
                .append(frame.body.begin(), frame.body.end());
    return unknown;
}

// For a tag that parses and keeps its revision.
void CheckEditing(View bytes, const TagOptions& options)
{
    NTag before, after;
    Require(ReadTagList(bytes, before), "what parses is read");
    const Edit edit{{bytes}, options};
    std::vector<uint8_t> written, again;
    Require(edit.Run(ThroughBlob(before), written), "what was read can be written");
    Require(ReadTagList(written, after), "what was written is read");
    Require(Meaning(before) == Meaning(after), "what was read survives write and read again");
    Require(Edit{{written}, options}.Run(ThroughBlob(after), again) && again == written,
            "writing twice changes nothing");

    NTag title;
    title.AddTag(L"Title", L"fuzz");
    Require(edit.Run(title, written) && ReadTagList(written, after), "a title can be set");
    Require(after.GetTagValue(L"Title") == L"fuzz", "what was set reads back");
    before.RemoveTag(L"Title");
    after.RemoveTag(L"Title");
    Require(Meaning(before) == Meaning(after), "other fields survive a change of the title");
    if (bytes[5] & 0x80)
        Require(UnknownFrames(bytes) == UnknownFrames(written), "unknown frames survive");

    Edit removal = edit;
    removal.remove = true;
    Require(removal.Run(title, written) && ReadTagList(written, after), "a title can be removed");
    Require(after.FindElement(L"Title") == nullptr, "what was removed is gone");
}

TagOptions OptionsOf(uint8_t bits)
{
    TagOptions options;
    options.textEncoding = bits & 3;
    options.writeVersion = bits & 4 ? 3 : 2;
    options.fullDateInYear = bits & 8;
    options.strictYearDate = bits & 16;
    return options;
}

} // namespace

std::vector<Bytes> Seeds()
{
    std::vector<Bytes> seeds;
    for (const auto& entry : std::filesystem::directory_iterator(FUZZ_CORPUS "/tag"))
        seeds.push_back(ReadFile(entry.path()));
    return seeds;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 2)
        return 0;
    View input(data, size);
    const TagOptions options = OptionsOf(input[0]);
    const bool remove = input[0] & 32;
    const size_t blobSize = std::min<size_t>(input[1] * size_t{4}, size - 2);
    const View blob = input.subspan(2, blobSize);
    const View tag = input.subspan(2 + blobSize);

    CheckParsing(tag);
    const id3parser::RawTag raw = id3parser::WalkRawFrames(tag);
    if (raw.parses && raw.revision >= id3parser::kRevision3 && !raw.plainSizes)
        CheckEditing(tag, options);

    // Any list may be applied to any tags.
    NTag list, shown;
    list.InitFromRawMemory(blob.data(), static_cast<long>(blob.size()));
    const Edit edit{{tag, tag.first(tag.size() / 2), tag}, options, remove};
    std::vector<uint8_t> written;
    if (edit.Run(list, written)) {
        Require(ReadTagList(written, shown), "what was written is read");
        if (remove)
            for (long i = 0; i < list.Count(); ++i)
                Require(list[i].name.empty() || list[i].name[0] == L'_' ||
                            EqualNoCase(list[i].name, kTagVersionName) ||
                            shown.FindElement(list[i].name) == nullptr,
                        "what was removed is gone");
    }
    return 0;
}
