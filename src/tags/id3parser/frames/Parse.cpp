// t_tag: parsing.
#include "tags/id3parser/bytes/Errors.h"
#include "tags/id3parser/frames/FrameReader.h"
#include "tags/id3parser/frames/Tag.h"

namespace id3parser
{

namespace
{

// Appends a frame and has `read` fill its body; the frame goes again when that
// throws or returns false.
template <class Read>
void AppendFrame(t_tag& tag, uint32_t id, Read read)
{
    const auto frame = tag.AddFrame(id);
    try {
        if (!read(*frame))
            tag.Frames().erase(frame);
    } catch (...) {
        tag.Frames().erase(frame);
        throw;
    }
}

void RejectFlags(uint8_t flags, uint8_t rejected)
{
    if (flags & rejected)
        throw parseError();
}

} // namespace

void t_tag::Parse_MemBlock(const void* data, size_t size, parseCallback& callback)
{
    streamInMem in(data, size);
    Parse(in, callback);
}

void t_tag::Parse(streamIn& in, parseCallback& callback)
{
    Reset(kRevisionNone);
    const TagHeader header = ReadTagHeader(in);
    streamLimited limited(in, header.size);
    streamFixSync synchronised(limited);
    // From ID3v2.4 on each frame says for itself whether it is unsynchronised.
    const bool wholeTag = header.flags & tagFlags::kUnsynchronised;
    streamIn& content = wholeTag ? static_cast<streamIn&>(synchronised) : limited;

    switch (header.major) {
    case kRevision2:
        RejectFlags(header.flags, 0x7F);
        ParseFrames_v2(content, callback);
        break;
    case kRevision3:
        RejectFlags(header.flags, 0x1F);
        ParseContent_v3(header.flags, content, callback);
        break;
    case kRevision4:
        RejectFlags(header.flags, 0x0F);
        ParseContent_v4(header.flags, limited, callback);
        break;
    default:
        throw parseError();
    }
    m_revision = t_tagRevision{header.major};
}

void t_tag::ParseContent_v3(uint8_t flags, streamIn& in, parseCallback& callback)
{
    SkipExtendedHeader_v3(flags, in);
    ParseFrames_v3(in, callback);
}

void t_tag::ParseContent_v4(uint8_t flags, streamIn& in, parseCallback& callback)
{
    SkipExtendedHeader_v4(flags, in);
    ParseFrames_v4(in, callback);
}

void t_tag::ParseFrames_v2(streamIn& in, parseCallback& callback)
{
    FrameHeader header;
    while (ReadFrameHeader_v2(in, header)) {
        if (header.size == 0)
            continue;
        // Only frames that cannot be named are the caller's choice.
        if (header.id == 0 && !callback.wantFrame(0)) {
            in.skipObj(header.size);
            continue;
        }
        AppendFrame(*this, header.id, [&](t_frame& frame) {
            ReadBody(in, header.size, frame.data);
            PostprocessV2Frame(frame);
            return true;
        });
    }
}

void t_tag::ParseFrames_v3(streamIn& in, parseCallback& callback)
{
    FrameHeader header;
    while (ReadFrameHeader_v3(in, header)) {
        if (!IsRead_v3(header) || !callback.wantFrame(header.id)) {
            in.skipObj(header.size);
            continue;
        }
        AppendFrame(*this, header.id,
                    [&](t_frame& frame) { return ReadBody_v3(in, header, frame.data); });
    }
}

void t_tag::ParseFrames_v4(streamIn& in, parseCallback& callback)
{
    FrameHeader header;
    while (ReadFrameHeader_v4(in, header)) {
        if (!IsRead_v4(header) || !callback.wantFrame(header.id)) {
            in.skipObj(header.size);
            continue;
        }
        AppendFrame(*this, header.id, [&](t_frame& frame) {
            ReadBody_v4(in, header, frame.data);
            return true;
        });
    }
}

} // namespace id3parser
