// SPDX-License-Identifier: MIT

// The ID3v2 tag reader, the edit of a tag in memory and the tag blob. An input is a byte of
// options, a byte with the size of a blob in units of 4 bytes, the blob, then the tag. The ways
// of reading agree; a list that was read and is written back changes nothing that
// reading shows; an edit keeps every frame that it does not concern; a blob decodes as encoded.
#include "Fuzz.h"
#include "OddTags.h"
#include "host/session/TagBlob.h"
#include "support/TagList.h"
#include "support/TempDir.h"
#include "support/text/Ascii.h"
#include "tags/TagBuilder.h"
#include "tags/TagFields.h"
#include "tags/TagItems.h"
#include "tags/TagPictures.h"
#include "tags/id3parser/fields/FrameToMeta.h"
#include "tags/id3parser/fields/Gapless.h"
#include "tags/id3parser/frames/FrameRules.h"
#include "tags/id3parser/frames/WireTag.h"

#include <numeric>
#include <set>

using namespace aiff;

using View = std::span<const uint8_t>;
using id3parser::t_frame;
using id3parser::t_tag;

namespace
{

// Whether the parser gets through.
bool Works(auto&& operation)
try {
    operation();
    return true;
} catch (const id3parser::parseError&) {
    return false;
}

bool Parse(id3parser::streamIn&& in, t_tag& tag)
{
    id3parser::parseCallback everything;
    return Works([&] { tag.Parse(in, everything); });
}

// What a list says, but for the order and the numbers of its pictures.
std::multiset<XStr> Meaning(const NTag& list)
{
    std::multiset<XStr> meaning;
    for (long i = 1; i < list.Count(); ++i) {
        XStr name = list[i].name, description;
        if (IsAlbumArt(list[i]))
            NTag::SpiltAlbumArtDesctiptionLine(list[i].name, description, name);
        meaning.insert(description + L"|" + name + L"=" + list[i].value +
                       XStr(list[i].data.begin(), list[i].data.end()));
    }
    return meaning;
}

bool IsShown(uint32_t id)
{
    return id == id3parser::kFrameAPIC || id3parser::RuleForFrame(id) != nullptr;
}

// A pair of 16-bit units is two characters of a list and one of the host.
std::string Joined(const XStr& text)
{
    return ToUtf8(std::u16string(text.begin(), text.end()));
}

// The host stops at the first item that is not whole, of which the plug-in keeps what is there.
void CheckReaders(const NTag& list, const std::vector<host::TagItem>& items)
{
    Require(std::ssize(items) <= list.Count(), "the host reads no item that is not there");
    for (size_t i = 0; i < items.size(); ++i) {
        const auto& own = list[static_cast<long>(i)];
        Require(items[i].name == Joined(own.name) && items[i].value == Joined(own.value) &&
                    std::ranges::equal(items[i].data, own.data),
                "the host reads the same items");
    }
    const auto blob = host::MakeTagBlob(items);
    Require(!blob || Decoded(*blob).Count() == std::ssize(items), "what the host makes is read");
}

void CheckBlob(View bytes, bool utf8)
{
    const NTag first = Decoded(bytes, utf8);
    const Bytes blob = Encoded(first, utf8);
    const auto items = host::ReadTagBlob(blob);
    if (!utf8) {
        CheckReaders(first, host::ReadTagBlob(bytes));
        CheckReaders(first, items);
        Require(std::ssize(items) == first.Count(), "the host reads whole lists");
    }
    const NTag second = Decoded(blob, utf8);
    Require(!blob.empty() && first.Count() == second.Count(), "a list comes back");
    for (long i = 0; i < first.Count(); ++i)
        Require(first[i].name == second[i].name && first[i].value == second[i].value &&
                    first[i].data == second[i].data,
                "items come back as they were");
}

// The bodies that fields and pictures come from.
std::multiset<std::string> ShownBodies(const t_tag& tag)
{
    std::multiset<std::string> bodies;
    for (const t_frame& frame : tag.Frames())
        if (frame.data.get_size() != 0 && IsShown(frame.id))
            bodies.insert(SizeBytes(frame.id, 8, 4) + S(frame.data.view()));
    return bodies;
}

// Whether the frames of a tag without an extended header, and zeros after them, fill it when their
// sizes are numbers of 32 bits.
bool FillsWithPlainSizes(View tag)
{
    const auto number = [](View bytes, int bits) {
        return std::accumulate(bytes.begin(), bytes.begin() + 4, size_t{0},
                               [bits](size_t high, uint8_t low) { return high << bits | low; });
    };
    const size_t size = number(tag.subspan(6), 7);
    View left = tag.subspan(10, std::min(size, tag.size() - 10));
    while (left.size() >= 8 && left[0] != 0) { // flags may be missing
        const size_t body = number(left.subspan(4), 8);
        const size_t head = std::min<size_t>(10, left.size());
        if (body > left.size() - head)
            return false;
        left = left.subspan(head + body);
    }
    return std::ranges::count(left, 0) == std::ssize(left);
}

void CheckParsing(View bytes, const id3parser::WireTag& wire)
{
    Require(wire.sizes == id3parser::FrameSizes::OfRevision || (bytes[5] & 0x40) != 0 ||
                FillsWithPlainSizes(bytes),
            "sizes are read as plain ones only where that explains the whole tag");
    t_tag fromMemory, fromStream, fromWire;
    const bool parses = Parse(id3parser::streamInMem(bytes), fromMemory);
    Require(Parse(Trickle(bytes), fromStream) == parses, "memory and stream parse alike");
    Require(fromMemory.Frames() == fromStream.Frames(), "memory and stream have the same frames");
    Require(wire.parses == parses, "both readers know whether the tag parses");
    for (const id3parser::WireFrame& frame : wire.frames)
        if (!frame.isHidden && !ReadFrame(frame, *fromWire.AddFrame(0)))
            fromWire.Frames().pop_back();
    Require(!parses || wire.sizes != id3parser::FrameSizes::OfRevision ||
                ShownBodies(fromWire) == ShownBodies(fromMemory),
            "both readers show the same bodies");
    id3parser::metaMap lenient, strict;
    Works([&] { tag_to_metaMap(fromMemory, strict, true); });
    tag_to_metaMap(fromMemory, lenient, false); // does not throw
    for (const t_frame& frame : fromMemory.Frames()) {
        uint64_t delay = 0, length = 0;
        extractAppleGapless(frame, delay, length);
        frame.getPictureType();
    }
}

// The frames that no field represents and that are no pictures, as bytes. Those without any are
// not written.
std::string UnknownFrames(View bytes)
{
    std::string unknown;
    const id3parser::WireTag tag = id3parser::ReadWireTag(bytes);
    for (const id3parser::WireFrame& frame : tag.frames)
        if (frame.size != 0 && !IsShown(frame.id))
            unknown +=
                SizeBytes(frame.id, 8, 4) + std::to_string(frame.formatFlags) + S(frame.Body());
    return unknown;
}

size_t CountNames(const NTag& list)
{
    std::set<XStr> names;
    for (long i = 0; i < list.Count(); ++i)
        names.insert(FoldCase(list[i].name));
    return names.size();
}

// These are for a tag that parses and keeps its revision.
void CheckWritingBack(View bytes, const TagOptions& options)
{
    NTag before, after;
    Require(ReadTagList(bytes, before), "what parses is read");
    const NTag sent = Decoded(Encoded(before));
    if (CountNames(sent) != CountNames(before)) // cut to 16 bits, two names may be one
        return;
    const Bytes back = Edited({bytes}, sent, options);
    Require(ReadTagList(back, after), "what was read can be written and read again");
    Require(Meaning(before) == Meaning(after), "what was read survives write and read again");
    Require(Edited({back}, Decoded(Encoded(after)), options) == back,
            "writing twice changes nothing");
}

void CheckTitle(View bytes, const TagOptions& options)
{
    NTag before, after;
    Require(ReadTagList(bytes, before), "what parses is read");
    const NTag title = ListOf(L"Title=fuzz");
    const Bytes titled = Edited({bytes}, title, options);
    Require(ReadTagList(titled, after), "a title can be set");
    Require(after.GetTagValue(L"Title") == L"fuzz", "what was set reads back");
    before.RemoveTag(L"Title");
    after.RemoveTag(L"Title");
    Require(Meaning(before) == Meaning(after), "other fields survive a change of the title");
    if (bytes[5] & 0x80)
        Require(UnknownFrames(bytes) == UnknownFrames(titled), "unknown frames survive");
    Require(ReadTagList(Edited({bytes}, title, options, true), after), "a title can be removed");
    Require(after.FindElement(L"Title") == nullptr, "what was removed is gone");
}

void CheckDamaged(View bytes, const TagOptions& options)
{
    const auto isOdd = [](const id3parser::WireFrame& frame) {
        return frame.Name().find('?') != std::string::npos;
    };
    const Bytes titled = Edited({bytes}, ListOf(L"Title=fuzz"), options);
    const id3parser::WireTag wire = id3parser::ReadWireTag(titled);
    Require(titled.empty() || (wire.parses && std::ranges::none_of(wire.frames, isOdd)),
            "what an edit leaves of a damaged tag are frames");
}

// Any list may be applied to any tags.
void CheckList(View tag, const NTag& list, const TagOptions& options, bool remove)
{
    NTag shown;
    const Bytes written = Edited({tag, tag.first(tag.size() / 2), tag}, list, options, remove);
    Require(written.empty() || ReadTagList(written, shown), "what was written is read");
    for (long i = 0; remove && i < list.Count(); ++i)
        Require(list[i].name.empty() || list[i].name[0] == L'_' ||
                    EqualNoCase(ToUtf8(list[i].name), kTagVersionField) ||
                    shown.FindElement(list[i].name) == nullptr,
                "what was removed is gone");
}

} // namespace

std::vector<Bytes> Seeds()
{
    std::vector<Bytes> seeds;
    for (const auto& entry : std::filesystem::directory_iterator(FUZZ_CORPUS "/tag"))
        seeds.push_back(ReadFile(entry.path()));
    for (const Bytes& tag : OddTags())
        for (const uint8_t options : Bytes{0, 1, 2, 3}) // each property
            seeds.push_back(Join({{options, 0}, tag}));
    const NTag list = ListOf(L"Title=\u20AC\U0001F3B5;Track=3/12;_albumart_1_Media<subdesc>x=ab");
    for (const bool utf8 : {false, true})
        seeds.push_back(Join({{uint8_t(utf8 ? 64 : 0), 255}, Encoded(list, utf8)}));
    return seeds;
}

size_t StructureAt(const Bytes& input)
{
    return input.size() < 2 ? input.size() : 2 + input[1] * size_t{4};
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 2)
        return 0;
    const size_t blobSize = std::min<size_t>(data[1] * size_t{4}, size - 2);
    const View blob(data + 2, blobSize), tag(data + 2 + blobSize, size - 2 - blobSize);
    TagOptions options;
    options.textEncoding = data[0] & 3;
    options.writeVersion = data[0] & 4 ? 3 : 2;
    options.fullDateInYear = data[0] & 8;
    options.strictYearDate = data[0] & 16;

    // One at a time, so that many inputs are tried.
    const unsigned choice = std::accumulate(data, data + size, 0u) % 4;
    if (choice == 0)
        CheckBlob(blob, data[0] & 64);
    if (choice == 1)
        CheckList(tag, Decoded(blob), options, data[0] & 32);
    if (choice < 2)
        return 0;
    const id3parser::WireTag wire = id3parser::ReadWireTag(tag);
    CheckParsing(tag, wire);
    if (!wire.parses)
        CheckDamaged(tag, options);
    // An edit may show frames whose names reading does not know.
    if (wire.parses && wire.revision >= id3parser::kRevision3 &&
        wire.sizes == id3parser::FrameSizes::OfRevision &&
        std::ranges::none_of(wire.frames,
                             [](const id3parser::WireFrame& frame) { return frame.isHidden; }))
        (choice == 2 ? CheckWritingBack : CheckTitle)(tag, options);
    return 0;
}
