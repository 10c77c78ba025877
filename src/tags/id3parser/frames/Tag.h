// SPDX-License-Identifier: MIT

// The tag as the codec sees it: a revision and a list of frames with undecoded
// bodies. Whatever revision was read, frames carry four-character identifiers
// and bodies shaped as in ID3v2.3 and 2.4.
#pragma once

#include "tags/id3parser/bytes/Streams.h"
#include "tags/id3parser/frames/Frame.h"

#include <cstddef>
#include <cstdint>
#include <list>

namespace aiff::id3parser
{

// Which frames the caller of a parse wants.
class parseCallback
{
public:
    virtual ~parseCallback() = default;
    virtual bool wantFrame([[maybe_unused]] uint32_t id) { return true; }
};

// Selects frames by their identifier.
class FIDFilter
{
public:
    virtual ~FIDFilter() = default;
    virtual bool Test(uint32_t id) const = 0;
};

class FIDFilterAny : public FIDFilter
{
public:
    bool Test([[maybe_unused]] uint32_t id) const override { return true; }
};

class FIDFilterOne : public FIDFilter
{
public:
    explicit FIDFilterOne(uint32_t id) : m_id(id) {}
    bool Test(uint32_t id) const override { return id == m_id; }

private:
    uint32_t m_id;
};

// The frames that hold a date in ID3v2.3.
class FIDFilter23date : public FIDFilter
{
public:
    bool Test(uint32_t id) const override { return id == kFrameTYER || id == kFrameTDAT; }
};

class t_tag
{
public:
    using FrameList = std::list<t_frame>;

    t_tagRevision Revision() const { return m_revision; }
    FrameList& Frames() { return m_frames; }
    const FrameList& Frames() const { return m_frames; }

    // Appends a frame with an empty body.
    FrameList::iterator AddFrame(uint32_t id);
    void Reset(t_tagRevision revision);

    // A change of revision leaves pictures, comments and lyrics only: all other
    // frames are rebuilt from the field map.
    void SetRevision(t_tagRevision revision);
    void OnRevisionChange(t_tagRevision revision);

    // Erases the frames that the filter selects and returns their number.
    size_t RemoveFrames(const FIDFilter& filter);
    size_t RemoveFrameID(uint32_t id) { return RemoveFrames(FIDFilterOne(id)); }

    // Moves the pictures to the end: front covers first, then the others.
    void SanitizeAPICOrder();

    // Parses the tag that starts at the stream's position. Throws parseError; the
    // frames completed before the error stay, the revision is 0 then.
    void Parse(streamIn& in, parseCallback& callback);
    void Parse_MemBlock(const void* data, size_t size, parseCallback& callback);

    // Serializes a tag of revision 3 or 4. All sizes are bytes.
    //
    // availableSize  the room of the tag to be replaced: filled with padding when
    //                that takes no more than maxPadding, else 2048 bytes of it
    // alignment      the tag's size becomes a multiple of this, 1 or more
    // Throws writeError, or std::overflow_error for a size beyond 32 bits;
    // a frame that cannot be written leaves `out` untouched.
    void Write(streamOut& out, uint64_t availableSize, uint64_t maxPadding, size_t alignment) const;

private:
    template <class IsWanted>
    void ParseFrames(streamIn& in, t_tagRevision revision, IsWanted isWanted);
    void ParseFrames_v2(streamIn& in, parseCallback& callback);
    void ParseContent_v3(uint8_t flags, streamIn& in, parseCallback& callback);
    void ParseContent_v4(uint8_t flags, streamIn& in, parseCallback& callback);
    void ParseFrames_v3(streamIn& in, parseCallback& callback);
    void ParseFrames_v4(streamIn& in, parseCallback& callback);

    FrameList m_frames;
    t_tagRevision m_revision = kRevisionNone;
};

} // namespace aiff::id3parser
