#include "tags/id3parser/fields/CarriedFrames.h"

#include "tags/id3parser/bytes/Errors.h"
#include "tags/id3parser/fields/FrameToMeta.h"
#include "tags/id3parser/frames/FrameRules.h"
#include "tags/id3parser/frames/Serialize.h"

#include <algorithm>

namespace aiff::id3parser
{

namespace
{

using Bytes = std::span<const uint8_t>;

std::string_view TextOf(Bytes bytes)
{
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// Whether the body is the same in every revision, whatever it holds.
bool IsSameInAllRevisions(uint32_t id)
{
    if (id == kFrameAPIC)
        return true;
    const FrameRule* rule = RuleForFrame(id);
    return rule != nullptr && (rule->read == ReadRule::Url || rule->read == ReadRule::Rating);
}

// Makes reading pass over a frame that it would stumble at, by the flag for frames that
// must not be changed. False when the revision has no such flag that reading minds.
bool MakePassable(WireForm& form, t_tagRevision revision)
{
    if (form.reading != FrameReading::Refused)
        return true;
    form.statusFlags |= kReadOnly_v4;
    return revision == kRevision4;
}

// The ID3v2.3 form of a compressed ID3v2.4 body: the size of the decoded data, then
// the data. Empty when the body does not tell the size.
std::vector<uint8_t> CompressedBody_v3(const WireForm& wire)
{
    FrameHeader header;
    header.size = static_cast<uint32_t>(wire.body.size());
    header.formatFlags = wire.formatFlags & static_cast<uint8_t>(~format4::kCompressed);
    if (!(header.formatFlags & format4::kDataLength))
        return {};
    try {
        streamInMem sizeField(wire.body);
        streamOutBuffer out;
        write_big_endian(out, read_sync_safe_integer(sizeField));
        t_byteVector data;
        streamInMem in(wire.body);
        ReadBody_v4(in, header, data);
        out.write(data.get_ptr(), data.get_size());
        return std::move(out.bytes);
    } catch (const parseError&) {
        return {};
    }
}

} // namespace

std::span<const uint8_t> CarriedFrames::Own(std::vector<uint8_t> bytes)
{
    return m_owned.emplace_back(std::move(bytes));
}

void CarriedFrames::Merge(OldTag moved)
{
    OldTag& old = m_old.emplace_back(std::move(moved));
    m_identities.insert(m_added.begin(), m_added.end());
    m_added.clear();
    const bool sound = old.parses && old.sizes == FrameSizes::OfRevision;
    const bool changesForm = old.revision != m_tag.Revision();
    metaMap fields;
    while (!old.frames.empty()) {
        t_tag::FrameList one;
        one.splice(one.end(), old.frames, old.frames.begin());
        if (sound || changesForm || MakePassable(*one.front().wire, old.revision))
            MergeFrame(std::move(one), old.revision, fields);
    }
    if (m_fields.empty())
        m_fields = std::move(fields);
    else
        for (const auto& [field, values] : fields)
            if (!m_fields.haveField(field))
                m_fields.findOrAdd(field) = values;
}

void CarriedFrames::MergeFrame(t_tag::FrameList one, t_tagRevision from, metaMap& fields)
{
    t_frame& frame = one.front();
    frame_to_infos(frame, from, fields);

    const std::string field = FieldOfFrame(frame);
    const Identity identity(frame.id, TextOf(frame.wire->body));
    if ((!field.empty() && m_fields.haveField(field)) || m_identities.contains(identity))
        return;
    if (from != m_tag.Revision() && !Port(frame, from))
        return;
    m_added.push_back(identity);
    m_tag.Frames().splice(m_tag.Frames().end(), one);
}

// Makes a frame of another revision one of this; false when it cannot be.
bool CarriedFrames::Port(t_frame& frame, t_tagRevision from)
{
    if (frame.data.get_size() == 0)
        return PortWireForm(frame, from);
    frame.wire = nullptr;
    if (IsSameInAllRevisions(frame.id))
        return true;
    if (frame.id != kFrameCOMM && frame.id != kFrameUSLT)
        return false; // the field map has it
    try {
        frame.SanitizeForRevision(m_tag.Revision());
        return true;
    } catch (const parseError&) {
        return false;
    }
}

bool CarriedFrames::PortWireForm(t_frame& frame, t_tagRevision from)
{
    WireForm& wire = *frame.wire;
    const bool from4 = from == kRevision4;
    constexpr uint8_t kLayout = format4::kUnsynchronised | format4::kDataLength;
    const uint8_t layout = from4 ? wire.formatFlags & kLayout : uint8_t{0};
    const auto meaning = static_cast<uint8_t>(wire.formatFlags ^ layout);
    if (from4 && meaning == format4::kCompressed) {
        std::vector<uint8_t> body = CompressedBody_v3(wire);
        if (body.empty())
            return false;
        wire.body = Own(std::move(body));
        wire.formatFlags = format3::kCompressed;
    } else if (meaning != 0 || RuleForFrame(frame.id) != nullptr ||
               (from == kRevision2 && frame.id == kFrameAPIC)) {
        return false; // would be shown where it was not, or has another layout
    } else if (layout != 0) {
        t_frame read(frame.id);
        const WireForm visible = {0, layout, false, {}, wire.body};
        if (ReadWireForm(visible, from, read) != FrameReading::Shown || read.data.get_size() == 0)
            return false;
        wire.body = Own(read.data.take());
        wire.formatFlags = 0;
    }
    // The same three flags, one bit further left in ID3v2.3.
    wire.statusFlags = static_cast<uint8_t>(from4 ? wire.statusFlags << 1 : wire.statusFlags >> 1);
    wire.mayNeedUnsync = true;
    return true;
}

} // namespace aiff::id3parser
