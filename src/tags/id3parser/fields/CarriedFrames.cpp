// SPDX-License-Identifier: MIT
#include "tags/id3parser/fields/CarriedFrames.h"

#include "tags/id3parser/bytes/Errors.h"
#include "tags/id3parser/fields/Genres.h"
#include "tags/id3parser/fields/StringFrames.h"
#include "tags/id3parser/frames/FrameRules.h"

#include <algorithm>
#include <iterator>
#include <numeric>
#include <tuple>
#include <utility>

namespace aiff::id3parser
{

namespace
{

using Bytes = std::span<const uint8_t>;

std::string_view TextOf(Bytes bytes)
{
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

bool HoldsList(const t_frame& frame, size_t index)
{
    size_t pieces = 0;
    t_frameWalk walk;
    frame.EnumPieces(false, index, walk, kOldValueSeparator, [&](std::string&&) { ++pieces; });
    return pieces > 1;
}

// Whether the strings of a text frame mean the same in the later revision.
bool MeansSameIn(t_tagRevision revision, const FrameRule& rule, const t_frame& frame)
{
    if (!rule.FitsRevision(revision))
        return false;
    if (revision == kRevision3)
        return true;
    switch (rule.read) {
    case ReadRule::Single:
    case ReadRule::SecondString:
    case ReadRule::Comment:
        return true;
    case ReadRule::MultiValue:
        return !HoldsList(frame, 0);
    case ReadRule::UserText:
        return !HoldsList(frame, 1);
    default:
        return false;
    }
}

// Makes the body what the later revision allows. False when it means something else there.
bool ConvertTo(t_tagRevision revision, t_frame& frame)
{
    const FrameRule* rule = RuleForFrame(frame.id);
    if (rule == nullptr) // a picture
        return true;
    if (rule->read == ReadRule::Url || rule->read == ReadRule::Rating)
        return true;
    if (rule->read == ReadRule::UserUrl) // the URL has no encoding of its own
        return frame.data.view()[0] <= kEncodingUTF16 || revision == kRevision4;
    if (!MeansSameIn(revision, *rule, frame))
        return false;
    frame.SanitizeForRevision(revision);
    return true;
}

// ID3v2.4 has a string for each entry of a list of genres. The entries stay what they are: names
// would take many times as much as numbers. False, with nothing given, when there is none.
bool EmitGenres(const t_frame& list, const FrameSink& sink)
{
    Values entries;
    const size_t count = list.GetStringCount();
    t_frameWalk walk;
    for (size_t i = 0; i < count; ++i)
        list.EnumPieces(false, i, walk, kOldGenreSeparator, [&](std::string&& piece) {
            ForEachGenreEntry(piece, [&](std::string_view entry) {
                if (!entry.empty())
                    entries.push_back(GenreString(entry));
            });
        });
    tagCreateContext context;
    context.encoding = UnitSize(list.data.view()[0]) == 2 ? kEncodingUTF16 : kEncodingUTF8;
    EmitStrings(list.id, entries, sink, [&](t_frame& frame, std::string_view entry, size_t index) {
        index == 0 ? frame.SetAsString(entry, context) : frame.AddString(entry);
    });
    return !entries.empty();
}

// Reading would stumble at the frame and give the whole tag up. In ID3v2.4 it passes over one
// that must not be changed.
bool MakePassable(WireFrame& wire)
{
    if (wire.reading == FrameReading::Refused)
        wire.statusFlags |= kReadOnly_v4;
    return wire.reading != FrameReading::Refused || wire.revision == kRevision4;
}

// A picture of ID3v2.2 that reading refuses for its text encoding.
bool ReadOddPicture(const WireFrame& wire, t_frame& frame)
try {
    if (wire.revision != kRevision2 || wire.id != kFrameAPIC)
        return false;
    frame.id = wire.id;
    frame.data.set_data_fromptr(wire.bytes, wire.size);
    ConvertPIC(frame.data);
    return true;
} catch (const parseError&) {
    return false;
}

// A compressed, encrypted or grouped frame of ID3v2.3: in ID3v2.4 what tells so before the body
// is in another order, and flags of their own announce it.
bool ConvertFlags(const WireFrame& wire, OutFrame& out, std::vector<uint8_t>& body)
{
    const bool isCompressed = wire.formatFlags & format3::kCompressed;
    const bool isEncrypted = wire.formatFlags & format3::kEncrypted;
    const bool isGrouped = wire.formatFlags & format3::kGrouped;
    streamInMem in(wire.Body());
    const size_t method = isCompressed ? kDataLengthSize : 0;
    const size_t group = method + isEncrypted, data = group + isGrouped;
    if (data >= wire.size)
        return false;
    const Bytes old = wire.Body();
    streamOutBuffer converted;
    if (isGrouped)
        converted.writeByte(old[group]);
    if (isEncrypted)
        converted.writeByte(old[method]);
    try {
        if (isCompressed)
            write_sync_safe_integer(converted, read_big_endian(in));
    } catch (const writeError&) {
        return false; // no such size can be written
    }
    converted.write(&old[data], old.size() - data);
    body = std::move(converted.bytes);
    out.formatFlags = (isCompressed ? format4::kCompressed | format4::kDataLength : 0) |
                      (isEncrypted ? format4::kEncrypted : 0) | (isGrouped ? format4::kGrouped : 0);
    // Reading passes over it in ID3v2.3, but would stumble at it in ID3v2.4.
    if (isCompressed && !isEncrypted && !isGrouped)
        out.statusFlags |= kReadOnly_v4;
    return true;
}

// A link to a frame of another file begins with the frame's name.
bool ConvertLink(const WireFrame& wire, std::vector<uint8_t>& body)
{
    constexpr size_t kNameSize = 3;
    if (wire.size < kNameSize)
        return false;
    const std::string name(TextOf(wire.Body().first(kNameSize)));
    const uint32_t read = translate_v2_id(name.c_str());
    const uint32_t id = read != 0 ? read : CarriedId_v2(name);
    body.resize(wire.size + 1);
    for (size_t i = 0; i <= kNameSize; ++i)
        body[i] = static_cast<uint8_t>(id >> 8 * (kNameSize - i));
    std::ranges::copy(wire.Body().subspan(kNameSize), body.begin() + kNameSize + 1);
    return id != 0;
}

} // namespace

CarriedFrames::CarriedFrames(t_tagRevision revision, std::vector<WireTag>&& tags)
    : m_revision(revision), m_tags(std::move(tags))
{
    for (WireTag& tag : m_tags)
        std::erase_if(tag.frames, [this](WireFrame& wire) {
            return wire.isDamaged && wire.revision == m_revision && !MakePassable(wire);
        });
    const std::vector<size_t> ends = MergeFrames();
    m_fields = FieldIndex(m_frames, FieldIndex::Of::Editing);
    m_fields.ForEachField([this](FieldIndex::Group group) {
        for (const FieldEntry& entry : group)
            m_frames[entry.frame].showsValue = ShowsValue(m_frames[entry.frame]);
    });
    if (ends.size() > 1)
        DropFieldsOfLaterTags(ends);
}

// Returns where the frames of each tag end.
std::vector<size_t> CarriedFrames::MergeFrames()
{
    if (m_tags.size() == 1) {
        m_frames = std::move(m_tags.front().frames);
        return {m_frames.size()};
    }
    if (m_tags.empty())
        return {};
    std::vector<size_t> ends;
    for (const WireTag& tag : m_tags)
        ends.push_back((ends.empty() ? 0 : ends.back()) + tag.frames.size());
    m_frames.reserve(ends.back());
    for (WireTag& tag : m_tags)
        std::ranges::copy(std::exchange(tag.frames, {}), std::back_inserter(m_frames));
    DropRepeatedFrames(ends);
    return ends;
}

// Of frames that are the same byte for byte, those of the first tag that has any stay.
void CarriedFrames::DropRepeatedFrames(std::vector<size_t>& ends)
{
    const auto key = [this](uint32_t i) {
        return std::make_tuple(m_frames[i].id, TextOf(m_frames[i].Body()));
    };
    std::vector<uint32_t> order(m_frames.size());
    std::iota(order.begin(), order.end(), 0);
    std::ranges::sort(order, [&](uint32_t a, uint32_t b) {
        const auto first = key(a), second = key(b);
        return first != second ? first < second : a < b;
    });
    std::vector<bool> isRepeated(m_frames.size());
    size_t end = 0; // of the tag with the first of the present ones
    for (size_t i = 0; i < order.size(); ++i) {
        if (i == 0 || key(order[i]) != key(order[i - 1]))
            end = *std::ranges::upper_bound(ends, size_t{order[i]});
        isRepeated[order[i]] = order[i] >= end;
    }
    size_t kept = 0;
    for (size_t tag = 0, i = 0; tag < ends.size(); ends[tag++] = kept)
        for (; i < ends[tag]; ++i)
            if (!isRepeated[i])
                m_frames[kept++] = m_frames[i];
    m_frames.resize(kept);
}

void CarriedFrames::DropFieldsOfLaterTags(const std::vector<size_t>& ends)
{
    const auto tagOf = [&](const FieldEntry& entry) {
        return std::ranges::upper_bound(ends, size_t{entry.frame}) - ends.begin();
    };
    m_fields.ForEachField([&](FieldIndex::Group group) {
        bool isShown = false; // by a tag before the one with the present frame
        bool isShownHere = false;
        for (size_t i = 0; i < group.size(); ++i) {
            WireFrame& wire = m_frames[group[i].frame];
            if (i != 0 && tagOf(group[i]) != tagOf(group[i - 1]))
                isShown = isShown || isShownHere;
            if (isShown)
                wire.id = wire.size = 0; // is not written
            else
                isShownHere = isShownHere || wire.showsValue;
        }
    });
    m_fields.EraseIf([this](const FieldEntry& entry) { return m_frames[entry.frame].id == 0; });
}

bool CarriedFrames::Emit(const WireFrame& wire, const FrameSink& sink) const
{
    // Of an unsynchronised frame, not a byte may be there. An empty frame would end the tag for
    // many readers.
    if (wire.id == 0 || wire.size == 0)
        return false;
    if (wire.revision == m_revision) {
        sink(wire.AsItIs());
        return true;
    }
    t_frame frame;
    const FrameRule* rule = RuleForFrame(wire.id);
    const bool isOfInterest = wire.id == kFrameAPIC || rule != nullptr;
    const bool isRead = isOfInterest && (ReadFrame(wire, frame) || ReadOddPicture(wire, frame));
    if (!isRead || frame.data.get_size() == 0)
        return EmitWireForm(wire, sink);
    try {
        if (m_revision == kRevision4 && rule != nullptr && rule->read == ReadRule::Genre)
            return EmitGenres(frame, sink);
        if (!ConvertTo(m_revision, frame))
            return false; // its field has it
    } catch (const parseError&) {
        return false;
    }
    sink(AsNew(frame));
    return true;
}

bool CarriedFrames::IsLost(const WireFrame& wire) const
{
    static const FrameSink kNowhere = [](const OutFrame&) {};
    const bool isKept = wire.id != 0 && wire.revision == m_revision;
    return !isKept && wire.size != 0 && !Emit(wire, kNowhere);
}

// For a frame of an older revision whose body no field wants.
bool CarriedFrames::EmitWireForm(const WireFrame& wire, const FrameSink& sink) const
{
    OutFrame out = wire.AsItIs();
    out.mayNeedUnsync = true;
    // The same three flags, one bit further right in ID3v2.4.
    out.statusFlags = static_cast<uint8_t>(wire.statusFlags >> 1);
    std::vector<uint8_t> body;
    if (wire.formatFlags != 0) {
        if (!ConvertFlags(wire, out, body))
            return false;
    } else if (wire.revision == kRevision2 && wire.id == kFrameLINK) {
        if (!ConvertLink(wire, body))
            return false;
    } else if (wire.id == kFrameAPIC || RuleForFrame(wire.id) != nullptr) {
        return false; // it would be shown where it was not, or has another layout
    }
    if (!body.empty())
        out.body = body;
    sink(out);
    return true;
}

} // namespace aiff::id3parser
