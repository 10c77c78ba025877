#include "tags/id3parser/frames/RawFrames.h"

#include "support/text/Ascii.h"
#include "tags/id3parser/bytes/Errors.h"
#include "tags/id3parser/frames/FrameRules.h"

#include <algorithm>
#include <string_view>

namespace id3parser
{

namespace
{

using Bytes = std::span<const uint8_t>;

// What a walk found.
struct Walk {
    std::vector<RawFrame> frames;
    bool complete = false;  // only padding stands behind the last frame
    bool plausible = false; // all identifiers look like such
};

bool Parses(Bytes tag)
{
    try {
        t_tag parsed;
        parseCallback everything;
        parsed.Parse_MemBlock(tag.data(), tag.size(), everything);
        return true;
    } catch (const parseError&) {
        return false;
    }
}

// Undoes unsynchronisation where it was done and leaves everything else alone.
std::vector<uint8_t> Resynchronise(Bytes bytes)
{
    std::vector<uint8_t> result;
    result.reserve(bytes.size());
    for (size_t i = 0; i < bytes.size(); ++i)
        if (i == 0 || bytes[i] != 0 || bytes[i - 1] != 0xFF)
            result.push_back(bytes[i]);
    return result;
}

// An identifier without translation has no characters to be judged by.
bool IsPlausibleId(uint32_t id)
{
    for (uint32_t rest = id; rest != 0; rest >>= 8) {
        const uint32_t c = rest & 0xFF;
        if (!IsAsciiUpper(c) && !IsAsciiDigit(c))
            return false;
    }
    return true;
}

// The identifier of the ID3v2.2 frame at the front of at least a whole header.
std::string_view NameOf_v2(Bytes frame)
{
    return {reinterpret_cast<const char*>(frame.data()), 3};
}

bool ReadFrameHeader(streamIn& in, t_tagRevision revision, bool plainSizes, FrameHeader& header)
{
    if (revision == kRevision2)
        return ReadFrameHeader_v2(in, header);
    if (revision == kRevision3)
        return ReadFrameHeader_v3(in, header);
    return ReadFrameHeader_v4(in, header, plainSizes);
}

// The parser takes the end of the data for the end of an unsynchronised body.
size_t BodySize(const FrameHeader& header, t_tagRevision revision, size_t left)
{
    const bool openEnded = revision == kRevision4 && IsRead_v4(header) &&
                           (header.formatFlags & format4::kUnsynchronised);
    return openEnded ? std::min<size_t>(header.size, left) : header.size;
}

Walk WalkContent(Bytes content, t_tagRevision revision, bool plainSizes)
{
    Walk walk;
    streamInMem in(content);
    try {
        RawFrame frame;
        for (;;) {
            const Bytes rest = content.last(in.left());
            if (!ReadFrameHeader(in, revision, plainSizes, frame.header)) {
                walk.complete = std::ranges::all_of(rest, [](uint8_t byte) { return byte == 0; });
                break;
            }
            if (revision == kRevision2)
                frame.carriedId = CarriedId_v2(NameOf_v2(rest));
            frame.body = in.take(plainSizes ? frame.header.size
                                            : BodySize(frame.header, revision, in.left()));
            if (frame.header.size != 0)
                walk.frames.push_back(frame);
        }
    } catch (const parseError&) {
        walk.complete = false;
    }
    walk.plausible = std::ranges::all_of(
        walk.frames, [](const RawFrame& frame) { return IsPlausibleId(frame.header.id); });
    return walk;
}

// Behind damage the walk may have lost its way.
void CutAtImplausible(std::vector<RawFrame>& frames)
{
    const auto end = std::ranges::find_if_not(
        frames, [](const RawFrame& frame) { return IsPlausibleId(frame.header.id); });
    frames.erase(end, frames.end());
}

// Moves behind the extended header; false when there is no getting past it.
bool SkipExtendedHeader(const RawTag& tag, streamIn& in)
{
    try {
        if (tag.revision == kRevision3)
            SkipExtendedHeader_v3(tag.flags, in);
        else if (tag.revision == kRevision4)
            SkipExtendedHeader_v4(tag.flags, in);
        return true;
    } catch (const parseError&) {
        return false;
    }
}

} // namespace

RawTag WalkRawFrames(std::span<const uint8_t> bytes)
{
    RawTag tag;
    streamInMem in(bytes);
    TagHeader header;
    try {
        header = ReadTagHeader(in);
    } catch (const parseError&) {
        return tag;
    }
    if (header.major < kRevision2 || header.major > kRevision4)
        return tag;
    tag.revision = t_tagRevision{header.major};
    tag.flags = header.flags;
    tag.parses = Parses(bytes);

    Bytes content = in.take(std::min<size_t>(header.size, in.left()));
    if (tag.revision < kRevision4 && (tag.flags & tagFlags::kUnsynchronised)) {
        tag.resynchronised = Resynchronise(content);
        content = tag.resynchronised;
    }
    streamInMem frames(content);
    if (!SkipExtendedHeader(tag, frames))
        return tag;
    content = content.last(frames.left());

    Walk walk = WalkContent(content, tag.revision, false);
    if (!walk.complete && tag.revision == kRevision4) {
        Walk plain = WalkContent(content, tag.revision, true);
        tag.plainSizes = plain.complete && plain.plausible;
        if (tag.plainSizes)
            walk = std::move(plain);
    }
    tag.frames = std::move(walk.frames);
    if (!tag.parses)
        CutAtImplausible(tag.frames);
    return tag;
}

bool MakePassable(RawFrame& raw, t_tagRevision revision)
{
    t_frame frame;
    if (revision == kRevision3)
        return !IsRead_v3(raw.header) || !(raw.header.formatFlags & format3::kCompressed) ||
               raw.body.size() >= kDataLengthSize;
    if (revision == kRevision4 && IsRead_v4(raw.header) && !DecodeRawFrame(raw, revision, frame))
        raw.header.statusFlags |= kReadOnly_v4;
    return true;
}

bool DecodeRawFrame(const RawFrame& raw, t_tagRevision revision, t_frame& frame)
{
    frame.id = raw.header.id;
    streamInMem in(raw.body);
    try {
        switch (revision) {
        case kRevision2:
            ReadBody(in, raw.body.size(), frame.data);
            PostprocessV2Frame(frame);
            return true;
        case kRevision3:
            if (IsRead_v3(raw.header) && ReadBody_v3(in, raw.header, frame.data))
                return true;
            break;
        case kRevision4:
            if (IsRead_v4(raw.header)) {
                ReadBody_v4(in, raw.header, frame.data);
                return true;
            }
            break;
        case kRevisionNone:
            break;
        }
    } catch (const parseError&) {
    }
    frame.data.set_size(0);
    return false;
}

} // namespace id3parser
