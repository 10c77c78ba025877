#include "tags/id3parser/fields/CarriedFrames.h"

#include "tags/id3parser/bytes/Errors.h"
#include "tags/id3parser/fields/FrameToMeta.h"
#include "tags/id3parser/frames/FrameRules.h"
#include "tags/id3parser/frames/Serialize.h"

#include <algorithm>

namespace id3parser
{

namespace
{

using Bytes = std::span<const uint8_t>;

std::string_view TextOf(Bytes bytes)
{
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// Whether the body means something to the field map or to the pictures.
bool IsOfInterest(uint32_t id)
{
    return id == kFrameAPIC || RuleForFrame(id) != nullptr;
}

// Whether the body is the same in every revision, whatever it holds.
bool IsSameInAllRevisions(uint32_t id)
{
    if (id == kFrameAPIC)
        return true;
    const FrameRule* rule = RuleForFrame(id);
    return rule != nullptr && (rule->read == ReadRule::Url || rule->read == ReadRule::Rating);
}

bool UnsyncAlters(Bytes bytes)
{
    for (size_t i = 0; i + 1 < bytes.size(); ++i)
        if (bytes[i] == 0xFF && (bytes[i + 1] == 0 || bytes[i + 1] >= 0xE0))
            return true;
    return !bytes.empty() && bytes.back() == 0xFF;
}

// The ID3v2.3 form of a compressed ID3v2.4 body: the size of the decoded data, then
// the data. Empty when the body does not tell the size.
std::vector<uint8_t> CompressedBody_v3(const WireFrame& wire)
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

void CarriedFrames::Merge(RawTag old)
{
    if (!old.resynchronised.empty())
        Own(std::move(old.resynchronised)); // moving keeps the bytes where they are
    const bool headerUnsync = old.flags & tagFlags::kUnsynchronised;
    m_identities.insert(m_added.begin(), m_added.end());
    m_added.clear();
    const bool sound = old.parses && !old.plainSizes;
    const bool changesForm = old.revision != m_tag.Revision();
    metaMap fields;
    for (RawFrame& raw : old.frames)
        if (sound || changesForm || MakePassable(raw, old.revision))
            MergeFrame(raw, old.revision, headerUnsync, fields);
    if (m_fields.empty())
        m_fields = std::move(fields);
    else
        for (const auto& [field, values] : fields)
            if (!m_fields.haveField(field))
                m_fields.findOrAdd(field) = values;
}

void CarriedFrames::MergeFrame(const RawFrame& raw, t_tagRevision from, bool headerUnsync,
                               metaMap& fields)
{
    t_tag::FrameList one;
    const uint32_t id = raw.header.id != 0 ? raw.header.id : raw.carriedId;
    if (id == 0)
        return;
    t_frame& frame = one.emplace_back(id);
    if (IsOfInterest(id) && DecodeRawFrame(raw, from, frame)) {
        frame.id = id;
        frame_to_infos(frame, from, fields);
    }

    const std::string field = FieldOfFrame(frame);
    const Identity identity(frame.id, TextOf(raw.body));
    if ((!field.empty() && m_fields.haveField(field)) || m_identities.contains(identity))
        return;
    const WireFrame wire{raw.header.statusFlags, raw.header.formatFlags, !headerUnsync, raw.body};
    if (from == m_tag.Revision())
        Keep(frame, wire);
    else if (!Port(frame, wire, from))
        return;
    m_added.push_back(identity);
    m_tag.Frames().splice(m_tag.Frames().end(), one);
}

void CarriedFrames::Keep(t_frame& frame, const WireFrame& wire)
{
    m_wire.push_back(wire);
    frame.origin = static_cast<uint32_t>(m_wire.size());
}

// Makes a frame of another revision one of this; false when it cannot be.
bool CarriedFrames::Port(t_frame& frame, const WireFrame& wire, t_tagRevision from)
{
    if (frame.data.get_size() == 0)
        return PortWire(frame, wire, from);
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

bool CarriedFrames::PortWire(t_frame& frame, WireFrame wire, t_tagRevision from)
{
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
        t_frame decoded;
        const FrameHeader header{frame.id, static_cast<uint32_t>(wire.body.size()), 0, layout};
        if (!DecodeRawFrame({header, 0, wire.body}, from, decoded) || decoded.data.get_size() == 0)
            return false;
        wire.body = Own(decoded.data.take());
        wire.formatFlags = 0;
    }
    // The same three flags, one bit further left in ID3v2.3.
    wire.statusFlags = static_cast<uint8_t>(from4 ? wire.statusFlags << 1 : wire.statusFlags >> 1);
    wire.mayNeedUnsync = true;
    Keep(frame, wire);
    return true;
}

size_t CarriedFrames::ContentSize() const
{
    size_t size = 0;
    for (const t_frame& frame : m_tag.Frames())
        size += kFrameHeaderSize +
                (frame.origin == 0 ? frame.data.get_size() : m_wire[frame.origin - 1].body.size());
    return size;
}

void CarriedFrames::WriteContent(streamOutBuffer& out)
{
    for (t_frame& frame : m_tag.Frames())
        if (frame.origin != 0)
            frame.data.take();
    for (const t_frame& frame : m_tag.Frames()) {
        const size_t start = out.bytes.size();
        WriteFrame(frame, out);
        if (out.bytes.size() - start - kFrameHeaderSize >= kFrameSizeLimit)
            throw writeError();
    }
}

void CarriedFrames::WriteFrame(const t_frame& frame, streamOut& out) const
{
    const t_tagRevision revision = m_tag.Revision();
    if (frame.origin == 0)
        return revision == kRevision4 ? WriteFrame_v4(frame, out) : WriteFrame_v3(frame, out);
    const WireFrame& wire = m_wire[frame.origin - 1];
    // An ID3v2.4 tag is always written with the flag that makes some readers undo
    // unsynchronisation in every frame.
    if (revision == kRevision4 && wire.formatFlags == 0 && wire.mayNeedUnsync &&
        UnsyncAlters(wire.body))
        return WriteUnsynchronisedFrame_v4(frame.id, wire.statusFlags, wire.body, out);
    WriteFrameHeader(frame.id, revision, wire.body.size(), wire.statusFlags, wire.formatFlags, out);
    out.write(wire.body.data(), wire.body.size());
}

} // namespace id3parser
