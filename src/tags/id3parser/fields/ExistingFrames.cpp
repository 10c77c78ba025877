#include "tags/id3parser/fields/ExistingFrames.h"

#include "tags/id3parser/fields/FrameToMeta.h"

namespace aiff::id3parser
{

// A frame without an identifier cannot be written.
static bool is_frame_not_salvagable(const t_frame& frame)
{
    return frame.id == 0;
}

ExistingFrames::ExistingFrames(t_tag::FrameList frames, t_tagRevision revision, const metaMap& map)
    : m_revision(revision)
{
    for (const t_frame& frame : frames)
        frame_to_infos(frame, revision, m_values);

    while (!frames.empty()) {
        const auto frame = frames.begin();
        const std::string field = FieldOfFrame(*frame);
        const bool represented = !field.empty() && map.haveField(field);
        const bool lost = !field.empty() && !represented && m_values.haveField(field);
        if (is_frame_not_salvagable(*frame) || lost) {
            frames.pop_front();
            continue;
        }
        const bool silent = represented && !ShowsValue(*frame);
        t_tag::FrameList& target = represented && !silent ? m_waiting[field] : m_rest;
        target.splice(target.end(), frames, frame);
        if (silent)
            m_silent.emplace(field, frame);
    }
}

bool ExistingFrames::ShowsValue(const t_frame& frame) const
{
    metaMap shown;
    frame_to_infos(frame, m_revision, shown);
    return !shown.empty();
}

bool ExistingFrames::TakeUnchanged(std::string_view field, const metaMap::Values& values,
                                   t_tag::FrameList& out)
{
    const auto waiting = m_waiting.find(field);
    const metaMap::Values* before = m_values.find(field);
    if (waiting == m_waiting.end() || before == nullptr || *before != values) {
        const auto [first, last] = m_silent.equal_range(field);
        for (auto silent = first; silent != last; ++silent)
            m_rest.erase(silent->second);
        m_silent.erase(first, last);
        return false;
    }
    out.splice(out.end(), waiting->second);
    return true;
}

ExistingFrames::ByValue ExistingFrames::FramesByValue(std::string_view field)
{
    ByValue byValue;
    const auto waiting = m_waiting.find(field);
    if (waiting == m_waiting.end())
        return byValue;
    t_tag::FrameList& frames = waiting->second;
    for (auto frame = frames.begin(); frame != frames.end(); ++frame) {
        metaMap single;
        frame_to_infos(*frame, m_revision, single);
        const metaMap::Values* values = single.find(field);
        if (values != nullptr && values->size() == 1)
            byValue.emplace(values->front(), frame);
    }
    return byValue;
}

void ExistingFrames::TakeRest(t_tag::FrameList& out)
{
    out.splice(out.end(), m_rest);
}

} // namespace aiff::id3parser
