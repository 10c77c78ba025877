#include "tags/id3parser/frames/Tag.h"

#include "tags/id3parser/bytes/Errors.h"

namespace id3parser
{

void t_frame::Reset()
{
    id = 0;
    origin = 0;
    data.set_size(0);
}

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

// Whether the frame still holds in the new revision, perhaps re-encoded.
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

} // namespace id3parser
