// SPDX-License-Identifier: MIT

// The format-neutral tag list: named items in order, each with a text value, binary
// data, or both. NTag.cpp has the list and its names; the blob, a format of its own, is
// in NTagBlob.cpp.
#pragma once

#include "qvcodec.h"
#include "support/XMem.h"
#include "support/text/XStr.h"

#include <span>
#include <vector>

namespace aiff
{

// One item. Copies are deep.
struct STInternalTag {
    XStr name;
    XStr value;                // empty for binary items
    std::vector<uint8_t> data; // a picture; empty for text items
};

// Names are compared without regard to the case of ASCII letters. Several items may
// have one name; look-ups find the first. Names that begin with an underscore are
// internal fields.
class NTag
{
public:
    long Count() const { return static_cast<long>(m_tags.size()); }

    // The item at a position from 0 to Count() - 1.
    STInternalTag& operator[](long position) { return m_tags[static_cast<size_t>(position)]; }
    const STInternalTag& operator[](long position) const
    {
        return m_tags[static_cast<size_t>(position)];
    }
    STInternalTag* pTag(long position);

    void Destroy() { m_tags.clear(); }

    // Appends an item; bytes are copied.
    void AddTag(const XStr& name, const XStr& value);
    void AddTag(const XStr& name, const XMem& data);
    void AddTag(const XStr& name, const void* bytes, size_t size);
    void AddTag(const STInternalTag& tag) { m_tags.push_back(tag); }
    void AddTag(STInternalTag&& tag) { m_tags.push_back(std::move(tag)); }
    void AddTag(const STInternalTag* tag) { m_tags.push_back(*tag); }

    // A position outside the list removes nothing.
    void RemoveTag(long position);
    // Removes every item of that name; false when there was none.
    bool RemoveTag(const XStr& name);

    // The first item of that name, or null. Valid until the list changes.
    STInternalTag* FindElement(const XStr& name);
    // The value of the first item of that name; removes all of them.
    XStr FindElementRemove(const XStr& name);
    // Empty when there is no such item.
    XStr GetTagValue(const XStr& name) const;
    // Changes the first item of that name, or appends one.
    void SetTagValue(const XStr& name, const XStr& value);

    // Takes over copies of another list's items. An item whose name is present
    // already is left out, or replaces the present one when `overwrite` is set; this
    // holds for the items of `other` among themselves, too.
    void MergeFrom(const NTag& other, bool overwrite);
    // The same, with the items' memory taken over.
    void MergeFrom(NTag&& other, bool overwrite);
    void DuplicateFrom(const NTag& other);

    // Bits for DropTagsBeginUnderScore.
    static constexpr unsigned kKeepRiff = 2;     // "_riff_..."
    static constexpr unsigned kKeepCdToc = 4;    // "_cdtoc"
    static constexpr unsigned kKeepAlbumArt = 8; // "_albumart_..."
    static constexpr unsigned kKeepCrc = 16;     // "_crc"

    // Removes the internal fields, but for those that a bit of `flags` keeps.
    void DropTagsBeginUnderScore(unsigned flags);
    void RemoveAllBinaryTags();
    // Measures two bytes per character of name and value, plus the data.
    void RemoveTagsBiggerThan(long limit);

    // --- The tag blob: the list as one block of bytes ---

    // Bytes that an item takes in the blob.
    size_t GetRawTagItemSize(long position) const;
    size_t GetRawTagItemSizeUTF8(long position) const;

    // Encodes the list, with strings of 16-bit units (characters are cut to their
    // low 16 bits) or of UTF-8; a string ends at its first zero. False, with an
    // empty block, when memory is short or the blob would exceed 2 GiB.
    [[nodiscard]] bool ToRawMemory(XMem& blob) const;
    [[nodiscard]] bool ToRawMemoryUTF8(XMem& blob) const;

    // Replaces the list with what a blob holds. A damaged blob ends the decoding and
    // keeps the items before the damage; nothing outside the blob is read.
    void InitFromRawMemory(const void* bytes, long size);
    void InitFromRawMemoryUTF8(const void* bytes, long size);

    // The form of a text in a blob of 16-bit units: cut at its first zero, and each
    // character cut to 16 bits.
    static XStr AsInBlob(std::wstring_view text);

    // --- Album art: names of picture items ---
    //
    // "_albumart_", a decimal index, "_", a description that tells the picture type, and
    // perhaps "<subdesc>" and a sub-description.

    // "_Front Album Cover" for the ID3v2 picture type 3; empty for types without name.
    static XStr AlbumArtAPICPicTypeToElementDescription(int type);
    // The picture type of "Front Album Cover" and so on; 3 for any other text.
    static int AlbumArtDescriptionToAPICPicType(const XStr& description);
    // Splits an item's name into description and sub-description.
    static void SpiltAlbumArtDesctiptionLine(const XStr& line, XStr& description,
                                             XStr& subDescription);
    // The first picture whose name begins with the index, or null.
    STInternalTag* GetAlbumArt(int index, XStr& description, XStr& subDescription);

    // --- Track numbers: "3" or "3/12" ---

    static void SplitTrackNumANDCount(const XStr& text, int& track, int& count);
    static void SplitTrackNumANDCountStr(const XStr& text, XStr& track, XStr& count);
    // The field with both numbers in at least two digits; empty for track 0.
    XStr PaddedTrackNum(const XStr& name) const;

private:
    const STInternalTag* Find(std::wstring_view name) const;
    template <class List>
    void Merge(List&& other, bool overwrite);

    std::vector<STInternalTag> m_tags;
};

// Prefix of the names of picture items, and what comes before the sub-description.
inline constexpr std::wstring_view kAlbumArtPrefix = L"" QV_TAG_PICTURE_PREFIX;
inline constexpr std::wstring_view kSubDescriptionMark = L"" QV_TAG_SUBDESCRIPTION;

} // namespace aiff
