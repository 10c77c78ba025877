// SPDX-License-Identifier: MIT

// One frame of a tag: its identifier and its body, with getters and setters that read
// and build bodies.
#pragma once

#include "tags/id3parser/bytes/ByteVector.h"
#include "tags/id3parser/frames/FrameId.h"
#include "tags/id3parser/text/TextEncodings.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace aiff::id3parser
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

// Getters throw parseError when the body is malformed. Text is UTF-8.
class t_frame
{
public:
    explicit t_frame(uint32_t frameId = 0) : id(frameId) {}

    // Sets the identifier to 0 and empties the body.
    void Reset() { *this = t_frame(); }

    bool isTextFrame() const { return id >> 24 == 'T'; }
    bool isUserTextFrame() const { return id == kFrameTXXX; }
    bool isStdTextFrame() const { return isTextFrame() && !isUserTextFrame(); }
    bool isPicture() const { return id == kFrameAPIC; }

    // Every terminator ends a string, text after the last one is one more.
    // More than 1024 strings throw.
    size_t GetStringCount() const;

    // The string with that index. A run of terminators counts as one separator
    // here. EnumString continues a walk, so that one pass reads all strings.
    // strict: text that breaks the rules of its encoding throws.
    void GetAsString(bool strict, std::string& out, size_t index) const;
    void EnumString(bool strict, std::string& out, size_t index, t_frameWalk& walk) const;

    // Reads the string piece by piece, see importPieces.
    void EnumPieces(bool strict, size_t index, t_frameWalk& walk, char separator,
                    const TakePiece& take) const;

    // Appends the URL of a URL frame.
    void GetAsURL(std::string& out) const;
    // Assigns the URL of a WXXX frame, which follows its description.
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
    t_byteVector data;

private:
    std::span<const uint8_t> TextFrom(size_t index, t_frameWalk& walk) const;
};

} // namespace aiff::id3parser
