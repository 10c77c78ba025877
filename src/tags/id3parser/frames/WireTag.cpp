// SPDX-License-Identifier: MIT
#include "tags/id3parser/frames/WireTag.h"

#include "support/text/Ascii.h"
#include "tags/id3parser/bytes/Errors.h"
#include "tags/id3parser/frames/FrameRules.h"

#include <algorithm>

namespace aiff::id3parser
{

namespace
{

using Bytes = std::span<const uint8_t>;
using Frames = std::vector<WireFrame>;

// What a walk found.
struct Walk {
    Frames frames;
    bool ends = false;     // no frame header or size is at fault
    bool complete = false; // only padding follows the last frame
    size_t left = 0;       // bytes that were not looked at
};

bool IsPadding(Bytes bytes)
{
    return std::ranges::all_of(bytes, [](uint8_t byte) { return byte == 0; });
}

// Undoes unsynchronisation where it was done and leaves everything else alone. `unread`
// becomes the number of bytes at the end of the result that reading does not get to: it
// stumbles at the first of them.
std::vector<uint8_t> Resynchronise(Bytes bytes, size_t& unread)
{
    std::vector<uint8_t> result;
    result.reserve(bytes.size());
    size_t sound = bytes.size();
    for (size_t i = 0; i < bytes.size(); ++i) {
        if (i != 0 && bytes[i] == 0 && bytes[i - 1] == 0xFF)
            continue;
        if (bytes[i] == 0xFF && (i + 1 == bytes.size() || bytes[i + 1] >= 0xE0))
            sound = std::min(sound, result.size());
        result.push_back(bytes[i]);
    }
    unread = result.size() - std::min(sound, result.size());
    return result;
}

// A name of three letters and a zero stands for itself; an identifier without translation
// has no characters to be judged by.
bool IsPlausible(uint32_t id)
{
    for (uint32_t rest = (id & 0xFF) == 0 ? id >> 8 : id; rest != 0; rest >>= 8) {
        const uint32_t c = rest & 0xFF;
        if (!IsAsciiUpper(c) && !IsAsciiDigit(c))
            return false;
    }
    return true;
}

bool IsPlausibleFrame(const WireFrame& frame)
{
    return IsPlausible(frame.id);
}

// The identifier under which an edit writes a frame that reading cannot name: that of its
// ID3v2.2 name, which some programs write into ID3v2.3, or the name itself.
uint32_t HiddenId(const FrameHeader& header, t_tagRevision revision)
{
    const uint32_t id = revision == kRevision4 ? 0 : CarriedId_v2(header.name.data());
    if (id != 0 || revision == kRevision2)
        return id;
    uint32_t asItIs = 0;
    for (size_t i = 0; i < 4; ++i)
        asItIs = asItIs << 8 | static_cast<uint8_t>(header.name[i]);
    return asItIs;
}

FrameHeader HeaderOf(const WireFrame& wire)
{
    FrameHeader header;
    header.id = wire.id;
    header.size = wire.size;
    header.statusFlags = wire.statusFlags;
    header.formatFlags = wire.formatFlags;
    return header;
}

t_tagRevision RevisionOf(const WireFrame& wire)
{
    return t_tagRevision{wire.revision};
}

// Whether reading takes the body as it is.
bool IsPlain(const WireFrame& wire)
{
    return wire.formatFlags == 0 && (wire.revision != kRevision2 || wire.id != kFrameAPIC);
}

// Throws parseError where reading stumbles.
bool ReadBodyOf(const WireFrame& wire, t_frame& frame)
{
    frame.id = wire.id;
    if (IsPlain(wire)) {
        frame.data.show(wire.Body());
        return true;
    }
    streamInMem in(wire.Body());
    frame.data.set_size(0);
    return ReadFrameBody(in, RevisionOf(wire), HeaderOf(wire), frame);
}

FrameReading ReadingOf(const WireFrame& wire, t_frame& scratch)
{
    if (!IsRead(HeaderOf(wire), RevisionOf(wire)))
        return FrameReading::PassedOver;
    try {
        const bool shown = IsPlain(wire) || ReadBodyOf(wire, scratch);
        return shown ? FrameReading::Shown : FrameReading::PassedOver;
    } catch (const parseError&) {
        return FrameReading::Refused;
    }
}

// Reading takes the end of the data for the end of an unsynchronised body.
size_t BodySize(const FrameHeader& header, t_tagRevision revision, FrameSizes sizes, size_t left)
{
    const bool openEnded = revision == kRevision4 && sizes == FrameSizes::OfRevision &&
                           IsRead(header, revision) &&
                           (header.formatFlags & format4::kUnsynchronised);
    return openEnded ? std::min<size_t>(header.size, left) : header.size;
}

// Goes through the frames from the stream's position on and keeps them when `frames` is not
// null. Returns their number.
size_t WalkContent(streamInMem in, t_tagRevision revision, FrameSizes sizes, Walk& walk,
                   Frames* frames)
{
    size_t count = 0;
    Bytes rest = in.rest(); // from the end of the last frame on
    try {
        WalkFrames(in, revision, sizes, [&](const FrameHeader& header) {
            const Bytes body = in.take(BodySize(header, revision, sizes, in.left()));
            rest = in.rest();
            if (header.size == 0)
                return;
            ++count;
            if (frames == nullptr)
                return;
            WireFrame& frame = frames->emplace_back();
            frame.bytes = body.data();
            frame.size = static_cast<uint32_t>(body.size());
            frame.isHidden = header.id == 0;
            frame.id = frame.isHidden ? HiddenId(header, revision) : header.id;
            frame.statusFlags = header.statusFlags;
            frame.formatFlags = header.formatFlags;
            frame.revision = static_cast<uint8_t>(revision);
        });
        walk.ends = true;
        walk.complete = IsPadding(rest);
    } catch (const parseError&) {
    }
    walk.left = in.left();
    return count;
}

Walk WalkContent(const streamInMem& in, t_tagRevision revision, FrameSizes sizes)
{
    Walk walk;
    walk.frames.reserve(WalkContent(in, revision, sizes, walk, nullptr));
    WalkContent(in, revision, sizes, walk, &walk.frames);
    return walk;
}

// Learns what reading makes of each frame. False when it stumbles at one.
bool JudgeFrames(Frames& frames)
{
    t_frame scratch;
    for (WireFrame& frame : frames)
        frame.reading = ReadingOf(frame, scratch);
    return std::ranges::find(frames, FrameReading::Refused, &WireFrame::reading) == frames.end();
}

// Finds the frames from the stream's position on. Reading does not get to the last `unread`
// bytes.
void FindFrames(WireTag& tag, const streamInMem& in, size_t unread)
{
    Walk walk = WalkContent(in, tag.revision, FrameSizes::OfRevision);
    tag.parses = JudgeFrames(walk.frames) && walk.ends && walk.left >= unread;
    if (!walk.complete && tag.revision == kRevision4) {
        Walk plain = WalkContent(in, tag.revision, FrameSizes::Plain);
        if (plain.complete && std::ranges::all_of(plain.frames, IsPlausibleFrame)) {
            walk = std::move(plain);
            tag.sizes = FrameSizes::Plain;
            JudgeFrames(walk.frames);
        }
    }
    tag.frames = std::move(walk.frames);
}

// After damage the walk may have lost its way.
void CutAtImplausible(Frames& frames)
{
    frames.erase(std::ranges::find_if_not(frames, IsPlausibleFrame), frames.end());
}

// For a tag that announces an extended header which reading cannot skip: there is none, or
// one of fewer bytes than the format has.
void FindFramesAfterBadHeader(WireTag& tag, Bytes content)
{
    std::vector<size_t> starts = {0};
    streamInMem sizeField(content);
    if (content.size() >= 4)
        starts.push_back(std::max<size_t>(read_big_endian(sizeField), 4));
    for (const size_t start : starts) {
        if (start > content.size())
            continue;
        FindFrames(tag, streamInMem(content.subspan(start)), 0);
        CutAtImplausible(tag.frames);
        if (!tag.frames.empty())
            break;
    }
    tag.parses = false;
}

void FindContent(WireTag& tag, const TagHeader& header, Bytes content, size_t unread)
{
    streamInMem in(content);
    try {
        SkipExtendedHeader(in, tag.revision, header.flags);
    } catch (const parseError&) {
        return FindFramesAfterBadHeader(tag, content);
    }
    FindFrames(tag, in, unread);
    tag.parses = tag.parses && IsReadable(header);
    if (!tag.parses)
        CutAtImplausible(tag.frames);
}

} // namespace

std::string WireFrame::Name() const
{
    constexpr ptrdiff_t kHeaderSize_v2 = 6; // name and size
    std::string name;
    if (id == 0 && revision == kRevision2)
        name.assign(bytes - kHeaderSize_v2, bytes - kHeaderSize_v2 + 3);
    for (uint32_t rest = id; rest != 0; rest <<= 8)
        name += static_cast<char>(rest >> 24);
    std::ranges::replace_if(
        name, [](char c) { return !IsAsciiUpper(c) && !IsAsciiDigit(c); }, '?');
    return name;
}

WireTag ReadWireTag(std::span<const uint8_t> bytes)
{
    WireTag tag;
    TagHeader header;
    streamInMem in(bytes);
    try {
        header = ReadTagHeader(in);
    } catch (const parseError&) {
        return tag;
    }
    Bytes content = in.rest().first(std::min<size_t>(header.size, in.left()));
    if (header.major >= kRevision2 && header.major <= kRevision4) {
        tag.revision = t_tagRevision{header.major};
        size_t unread = 0;
        if (IsUnsynchronised(header))
            content = tag.resynchronised = Resynchronise(content, unread);
        FindContent(tag, header, content, unread);
    }
    tag.isLost = !tag.parses && tag.frames.empty() && !IsPadding(content);
    for (WireFrame& frame : tag.frames) {
        frame.mayNeedUnsync = !(header.flags & tagFlags::kUnsynchronised);
        frame.isDamaged = !tag.parses || tag.sizes != FrameSizes::OfRevision;
    }
    return tag;
}

bool ReadFrame(const WireFrame& wire, t_frame& frame)
{
    return wire.reading == FrameReading::Shown && ReadBodyOf(wire, frame);
}

std::span<const uint8_t> ShownBody(const WireFrame& wire, t_frame& scratch)
{
    ReadBodyOf(wire, scratch);
    return scratch.data.view();
}

} // namespace aiff::id3parser
