// SPDX-License-Identifier: MIT
#include "tags/id3parser/frames/Tag.h"

#include "tags/id3parser/bytes/Errors.h"
#include "tags/id3parser/frames/FrameReader.h"
#include "tags/id3parser/frames/Serialize.h"

namespace aiff::id3parser
{

t_tag::FrameList::iterator t_tag::AddFrame(uint32_t id)
{
    return m_frames.emplace(m_frames.end(), id);
}

void t_tag::Reset(t_tagRevision revision)
{
    m_frames.clear();
    m_revision = revision;
}

void t_tag::SetRevision(t_tagRevision revision)
{
    if (revision == m_revision)
        return;
    m_revision = revision;
    OnRevisionChange(revision);
}

// Whether the frame is valid in the new revision, perhaps re-encoded.
static bool OnRevisionChange_Sanitize(t_frame& frame, t_tagRevision revision)
{
    if (frame.id == kFrameAPIC)
        return true;
    if (frame.id != kFrameCOMM && frame.id != kFrameUSLT)
        return false;
    try {
        frame.SanitizeForRevision(revision);
        return true;
    } catch (const parseError&) {
        return false;
    }
}

void t_tag::OnRevisionChange(t_tagRevision revision)
{
    m_frames.remove_if([=](t_frame& frame) { return !OnRevisionChange_Sanitize(frame, revision); });
}

size_t t_tag::RemoveFrames(const FIDFilter& filter)
{
    return m_frames.remove_if([&](const t_frame& frame) { return filter.Test(frame.id); });
}

void t_tag::SanitizeAPICOrder()
{
    constexpr uint8_t kFrontCover = 3;
    FrameList frontCovers, others;
    for (auto it = m_frames.begin(); it != m_frames.end();) {
        const auto frame = it++;
        if (!frame->isPicture())
            continue;
        FrameList& target = frame->getPictureType() == kFrontCover ? frontCovers : others;
        target.splice(target.end(), m_frames, frame);
    }
    m_frames.splice(m_frames.end(), frontCovers);
    m_frames.splice(m_frames.end(), others);
}

void t_tag::Parse_MemBlock(const void* data, size_t size, parseCallback& callback)
{
    streamInMem in(data, size);
    Parse(in, callback);
}

void t_tag::Parse(streamIn& in, parseCallback& callback)
{
    Reset(kRevisionNone);
    const TagHeader header = ReadTagHeader(in);
    if (!IsReadable(header))
        throw parseError();
    streamLimited limited(in, header.size);
    streamFixSync synchronised(limited);
    streamIn& content = IsUnsynchronised(header) ? static_cast<streamIn&>(synchronised) : limited;
    switch (header.major) {
    case kRevision2:
        ParseFrames_v2(content, callback);
        break;
    case kRevision3:
        ParseContent_v3(header.flags, content, callback);
        break;
    case kRevision4:
        ParseContent_v4(header.flags, content, callback);
        break;
    }
    m_revision = t_tagRevision{header.major};
}

void t_tag::ParseContent_v3(uint8_t flags, streamIn& in, parseCallback& callback)
{
    SkipExtendedHeader(in, kRevision3, flags);
    ParseFrames_v3(in, callback);
}

void t_tag::ParseContent_v4(uint8_t flags, streamIn& in, parseCallback& callback)
{
    SkipExtendedHeader(in, kRevision4, flags);
    ParseFrames_v4(in, callback);
}

// Appends the frames that are shown and whose identifier is wanted.
template <class IsWanted>
void t_tag::ParseFrames(streamIn& in, t_tagRevision revision, IsWanted isWanted)
{
    WalkFrames(in, revision, FrameSizes::OfRevision, [&](const FrameHeader& header) {
        if (header.size == 0 || !IsRead(header, revision) || !isWanted(header.id)) {
            in.skipObj(header.size);
            return;
        }
        FrameList one;
        if (ReadFrameBody(in, revision, header, one.emplace_back(header.id)))
            m_frames.splice(m_frames.end(), one);
    });
}

void t_tag::ParseFrames_v2(streamIn& in, parseCallback& callback)
{
    // Only frames that cannot be named are the caller's choice.
    ParseFrames(in, kRevision2, [&](uint32_t id) { return id != 0 || callback.wantFrame(id); });
}

void t_tag::ParseFrames_v3(streamIn& in, parseCallback& callback)
{
    ParseFrames(in, kRevision3, [&](uint32_t id) { return callback.wantFrame(id); });
}

void t_tag::ParseFrames_v4(streamIn& in, parseCallback& callback)
{
    ParseFrames(in, kRevision4, [&](uint32_t id) { return callback.wantFrame(id); });
}

void t_tag::Write(streamOut& out, uint64_t availableSize, uint64_t maxPadding,
                  size_t alignment) const
{
    const auto emit = [this](const FrameSink& sink) {
        for (const t_frame& frame : m_frames)
            sink(AsNew(frame));
    };
    WriteTag(m_revision, emit, out, availableSize, maxPadding, alignment);
}

} // namespace aiff::id3parser
