#include "tags/id3parser/frames/OldTag.h"

#include "support/text/Ascii.h"
#include "tags/id3parser/bytes/Errors.h"
#include "tags/id3parser/frames/FrameRules.h"

#include <algorithm>

namespace aiff::id3parser
{

namespace
{

using Bytes = std::span<const uint8_t>;

// What a walk found.
struct Walk {
    t_tag::FrameList frames;
    std::deque<WireForm> forms;
    bool ends = false;     // no frame header or size is at fault
    bool complete = false; // only padding follows the last frame
    size_t left = 0;       // bytes that were not looked at
};

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

// An identifier without translation has no characters to be judged by.
bool IsPlausible(const t_frame& frame)
{
    for (uint32_t rest = frame.id; rest != 0; rest >>= 8) {
        const uint32_t c = rest & 0xFF;
        if (!IsAsciiUpper(c) && !IsAsciiDigit(c))
            return false;
    }
    return true;
}

// Whether the body means something to the field map or to the pictures.
bool IsOfInterest(const t_frame& frame)
{
    return frame.isPicture() || RuleForFrame(frame.id) != nullptr;
}

// Reading takes the end of the data for the end of an unsynchronised body.
size_t BodySize(const FrameHeader& header, t_tagRevision revision, FrameSizes sizes, size_t left)
{
    const bool openEnded = revision == kRevision4 && sizes == FrameSizes::OfRevision &&
                           IsRead(header, revision) &&
                           (header.formatFlags & format4::kUnsynchronised);
    return openEnded ? std::min<size_t>(header.size, left) : header.size;
}

// Delimits the frames from the stream's position on; their bodies are not read.
Walk WalkContent(streamInMem in, t_tagRevision revision, FrameSizes sizes)
{
    Walk walk;
    Bytes rest = in.rest(); // from the end of the last frame on
    try {
        WalkFrames(in, revision, sizes, [&](const FrameHeader& header) {
            const Bytes body = in.take(BodySize(header, revision, sizes, in.left()));
            rest = in.rest();
            if (header.size == 0)
                return;
            const bool onlyCarried = revision == kRevision2 && header.id == 0;
            t_frame& frame = walk.frames.emplace_back(onlyCarried ? CarriedId_v2(header.name.data())
                                                                  : header.id);
            frame.wire = &walk.forms.emplace_back(
                WireForm{header.statusFlags, header.formatFlags, false, {}, body});
        });
        walk.ends = true;
        walk.complete = std::ranges::all_of(rest, [](uint8_t byte) { return byte == 0; });
    } catch (const parseError&) {
    }
    walk.left = in.left();
    return walk;
}

// Reads the bodies of the frames, and keeps those of interest. False when reading
// stumbles at one.
bool ReadBodies(t_tag::FrameList& frames, t_tagRevision revision)
{
    bool parses = true;
    for (t_frame& frame : frames) {
        frame.wire->reading = ReadWireForm(*frame.wire, revision, frame);
        parses = parses && frame.wire->reading != FrameReading::Refused;
        if (!IsOfInterest(frame))
            frame.data.take();
    }
    return parses;
}

// After damage the walk may have lost its way.
void CutAtImplausible(t_tag::FrameList& frames)
{
    frames.erase(std::ranges::find_if_not(frames, IsPlausible), frames.end());
}

// Finds and reads the frames from the stream's position on. Reading does not get to the
// last `unread` bytes.
void ReadFrames(OldTag& tag, const streamInMem& in, size_t unread)
{
    Walk walk = WalkContent(in, tag.revision, FrameSizes::OfRevision);
    tag.parses = ReadBodies(walk.frames, tag.revision) && walk.ends && walk.left >= unread;
    if (!walk.complete && tag.revision == kRevision4) {
        Walk plain = WalkContent(in, tag.revision, FrameSizes::Plain);
        if (plain.complete && std::ranges::all_of(plain.frames, IsPlausible)) {
            walk = std::move(plain);
            tag.sizes = FrameSizes::Plain;
            ReadBodies(walk.frames, tag.revision);
        }
    }
    tag.frames = std::move(walk.frames);
    tag.forms = std::move(walk.forms);
}

} // namespace

OldTag ReadOldTag(std::span<const uint8_t> bytes)
{
    OldTag tag;
    try {
        streamInMem in(bytes);
        const TagHeader header = ReadTagHeader(in);
        if (header.major < kRevision2 || header.major > kRevision4)
            return tag;
        tag.revision = t_tagRevision{header.major};
        Bytes content = in.rest().first(std::min<size_t>(header.size, in.left()));
        size_t unread = 0;
        if (IsUnsynchronised(header))
            content = tag.resynchronised = Resynchronise(content, unread);
        streamInMem frames(content);
        SkipExtendedHeader(frames, tag.revision, header.flags);
        ReadFrames(tag, frames, unread);
        tag.parses = tag.parses && IsReadable(header);
        for (WireForm& form : tag.forms)
            form.mayNeedUnsync = !(header.flags & tagFlags::kUnsynchronised);
    } catch (const parseError&) {
        // No tag, or an extended header that nothing gets past.
    }
    if (!tag.parses)
        CutAtImplausible(tag.frames);
    return tag;
}

FrameReading ReadWireForm(const WireForm& form, t_tagRevision revision, t_frame& frame)
{
    FrameHeader header;
    header.id = frame.id;
    header.size = static_cast<uint32_t>(form.body.size());
    header.statusFlags = form.statusFlags;
    header.formatFlags = form.formatFlags;
    streamInMem in(form.body);
    FrameReading reading = FrameReading::PassedOver;
    try {
        if (IsRead(header, revision) && ReadFrameBody(in, revision, header, frame))
            reading = FrameReading::Shown;
    } catch (const parseError&) {
        reading = FrameReading::Refused;
    }
    if (reading != FrameReading::Shown)
        frame.data.take();
    return reading;
}

} // namespace aiff::id3parser
