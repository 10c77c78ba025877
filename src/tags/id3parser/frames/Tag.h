// The tag as the codec sees it: a revision and a list of frames with undecoded
// bodies. Whatever revision was read, frames carry four-character identifiers
// and bodies shaped as in ID3v2.3 and 2.4.
#pragma once

#include "tags/id3parser/bytes/ByteVector.h"
#include "tags/id3parser/bytes/Streams.h"
#include "tags/id3parser/frames/FrameId.h"
#include "tags/id3parser/text/TextEncodings.h"

#include <cstddef>
#include <cstdint>
#include <list>
#include <string>
#include <string_view>

namespace id3parser
{

// The major version of a tag.
enum t_tagRevision : int {
    kRevisionNone = 0, // empty or freshly reset
    kRevision2 = 2,
    kRevision3 = 3,
    kRevision4 = 4,
};

// How frame bodies are to be built.
struct tagCreateArgs {
    uint8_t encoding = 3;        // text encoding: 0 ISO-8859-1, 1 UTF-16, 3 UTF-8
    bool fullDateInYear = false; // below 2.4 a full date goes into TYER as it is
    bool omitRating = false;     // write no POPM frame
};

struct tagCreateContext : tagCreateArgs {
    t_tagRevision revision = kRevisionNone;

    bool isOldRevision() const { return revision < kRevision4; }
};

// Bytes between the encoding byte of a frame's body and its text: the language of COMM and
// USLT.
size_t get_byteskip(uint32_t id);

// One frame. Getters throw parseError when the body is malformed, text is UTF-8.
class t_frame
{
public:
    explicit t_frame(uint32_t frameId = 0) : id(frameId) {}

    // Sets the identifier to 0 and empties the body.
    void Reset();

    bool isTextFrame() const { return id >> 24 == 'T'; }
    bool isUserTextFrame() const { return id == kFrameTXXX; }
    bool isStdTextFrame() const { return isTextFrame() && !isUserTextFrame(); }
    bool isPicture() const { return id == kFrameAPIC; }

    // Every terminator ends a string, text behind the last one is one more.
    // More than 1024 strings throw.
    size_t GetStringCount() const;

    // The string with that index. A run of terminators counts as one separator
    // here. EnumString continues a walk, so that one pass reads all strings.
    // strict: text that breaks the rules of its encoding throws.
    void GetAsString(bool strict, std::string& out, size_t index) const;
    void EnumString(bool strict, std::string& out, size_t index, t_frameWalk& walk) const;

    // Appends the URL of a URL frame.
    void GetAsURL(std::string& out) const;
    // Assigns the URL of a WXXX frame, which stands behind its description.
    void GetAsWXXX(bool strict, std::string& out) const;

    // `data` points into the body and is valid until it changes. A type above 20
    // becomes 0.
    void getPicture(uint8_t& type, const uint8_t*& data, size_t& size) const;
    // Never throws: 0 when the body is malformed.
    uint8_t getPictureType() const;
    std::string getPictureMime() const;
    std::string getPictureDesc() const;

    // Setters replace the body. Text is UTF-8 and ends at its first 0.
    // COMM and USLT get the language "eng". Throws writeError when the context's
    // encoding cannot be written.
    void SetAsString(std::string_view utf8, const tagCreateContext& context);
    // Appends a string in the encoding that the body has.
    void AddString(std::string_view utf8);
    void SetAsNumeric(std::string_view utf8);
    void SetAsURL(std::string_view utf8);
    // The body of a WXXX frame.
    void SetAsURLEx(std::string_view description, std::string_view url,
                    const tagCreateContext& context);
    // Makes the frame an APIC. `mime` and `description` are copied byte for byte
    // and declared ISO-8859-1.
    void setPicture(uint8_t type, std::string_view mime, std::string_view description,
                    const uint8_t* data, size_t size);

    // Re-encodes a COMM or USLT body that `revision` does not allow as it is.
    // Throws parseError when the body is malformed.
    void SanitizeForRevision(t_tagRevision revision);

    bool operator==(const t_frame& other) const { return id == other.id && data == other.data; }

    uint32_t id;
    uint32_t origin = 0; // which old frame this is, by the count of its owner; 0: a new one
    t_byteVector data;
};

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

    // Erases the frames that the filter selects and returns how many it were.
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
    void WriteContent_v3(streamOut& out) const;
    void WriteContent_v4(streamOut& out) const;

private:
    void ParseFrames_v2(streamIn& in, parseCallback& callback);
    void ParseContent_v3(uint8_t flags, streamIn& in, parseCallback& callback);
    void ParseContent_v4(uint8_t flags, streamIn& in, parseCallback& callback);
    void ParseFrames_v3(streamIn& in, parseCallback& callback);
    void ParseFrames_v4(streamIn& in, parseCallback& callback);

    FrameList m_frames;
    t_tagRevision m_revision = kRevisionNone;
};

} // namespace id3parser
