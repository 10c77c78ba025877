// SPDX-License-Identifier: MIT

// An ID3v2 tag in a region of a file.
#pragma once

#include "support/file/XFile.h"
#include "tags/NTag.h"
#include "tags/TagItems.h"
#include "tags/TagOptions.h"

#include <functional>
#include <span>
#include <string>
#include <vector>

namespace aiff
{

// What all readers and writers of tags in files can do.
class BaseTag
{
public:
    virtual ~BaseTag() = default;

    // Unknown options are ignored.
    virtual void SetOption(const wchar_t* key) = 0;
    virtual const wchar_t* GetTagName() const = 0;

    // Replaces the list with what the tag says.
    [[nodiscard]] virtual bool Read(NTag& tags) = 0;
    virtual bool HasTag() const = 0;

    // Sets the fields that the list names and keeps the others; in delete mode removes
    // the fields that it names.
    [[nodiscard]] virtual bool Write(const NTag& tags, bool deleteMode) = 0;
    [[nodiscard]] virtual bool DeleteAllTags() = 0;
    [[nodiscard]] virtual bool DeleteATag(const wchar_t* name) = 0;
};

// How much a new tag may take, as id3parser::t_tag::Write describes it.
struct TagRoom {
    uint64_t available = 0;
    uint64_t maxPadding = 0;
    size_t alignment = 1;
};

// Makes the new tag of the old ones, for what no list can say. False when that cannot be done.
//
// leftOut  becomes the names of the frames that the new tag cannot hold, as TagUpdate tells them
using TagMaker =
    std::function<bool(std::span<const std::span<const uint8_t>> old, const TagRoom& room,
                       std::vector<uint8_t>& tag, std::string& leftOut)>;

class TagID3v2 : public BaseTag
{
public:
    // `position` is where the tag starts, or is to start, in bytes.
    TagID3v2(XFileHandle file, int64_t position);

    void SetOption(const wchar_t* key) override { m_options.SetOption(key); }
    const wchar_t* GetTagName() const override { return L"ID3v2"; }

    // The written tag's size becomes a multiple of this, 1 or more.
    void SetAlign(unsigned alignment) { m_alignment = alignment; }

    // What a written tag makes of its region.
    enum class RegionUse {
        Shrink, // ends with the tag
        Fill,   // keeps its size when the tag fits; a larger tag gets some spare room
    };

    // Bounds the tag by a region of `size` bytes at its position, which a written tag
    // replaces as a whole: a tag that claims more is none.
    void SetRegion(int64_t size, RegionUse use);

    // A tag elsewhere in the file whose frames come before those of this one when it is
    // written.
    void AddEarlierTag(int64_t position, int64_t size) { m_earlier.push_back({position, size}); }

    // A tag of another file, from its header on, whose frames come before those of this one
    // when it is written. One that meets no other tag is written byte for byte. The bytes must
    // outlive the object.
    void AddForeignTag(std::span<const uint8_t> tag) { m_foreign.push_back(tag); }

    // Makes the tag that Write writes, in the place of the list.
    void SetMaker(TagMaker maker) { m_maker = std::move(maker); }

    // Bytes that the tag says it takes, footer included, without looking at the region;
    // 0 when there is none.
    int64_t GetID3v2TagSize() const;

    [[nodiscard]] bool Read(NTag& tags) override;
    // Adds what the tag says to the items.
    [[nodiscard]] bool Read(TagItems& items) const;
    bool HasTag() const override { return GetID3v2TagSize() != 0; }

    // Moves what follows the region to where the new tag ends. False, with nothing
    // written, when the old tag cannot be read, when nothing of it can be told apart or when
    // the new one exceeds what its format can say.
    [[nodiscard]] bool Write(const NTag& tags, bool deleteMode) override;

    // Why the last Write failed, in words; and after a successful one the names of the frames
    // that the new tag cannot hold, with commas between them.
    const wchar_t* Obstacle() const { return m_obstacle; }
    const XStr& LeftOut() const { return m_leftOut; }

    // Bytes that the last successful Write wrote, padding included.
    int64_t WrittenSize() const { return m_writtenSize; }

    // Removes the tag's bytes from the file.
    [[nodiscard]] bool DeleteAllTags() override;
    [[nodiscard]] bool DeleteATag(const wchar_t* name) override;

private:
    struct Region {
        int64_t position = 0;
        int64_t size = 0;
    };

    // The region that was set, or else the bytes that the tag claims.
    Region OwnRegion() const;
    // What follows the tag starts at a multiple of the alignment.
    int64_t Aligned(int64_t size) const;
    [[nodiscard]] bool ReadBytes(const Region& region, std::vector<uint8_t>& bytes) const;
    [[nodiscard]] bool ReadOldTags(std::vector<std::vector<uint8_t>>& old) const;
    std::vector<uint8_t> LoneForeignTag(std::span<const std::vector<uint8_t>> old) const;
    [[nodiscard]] bool MakeTag(std::span<const std::vector<uint8_t>> old, const NTag& tags,
                               bool deleteMode, std::vector<uint8_t>& tag);
    [[nodiscard]] bool PlaceTag(std::vector<uint8_t> tag);

    XFile m_file;
    Region m_region;
    bool m_hasRegion = false;
    RegionUse m_regionUse = RegionUse::Shrink;
    std::vector<Region> m_earlier;
    std::vector<std::span<const uint8_t>> m_foreign;
    TagMaker m_maker;
    TagOptions m_options;
    unsigned m_alignment = 1;
    int64_t m_writtenSize = 0;
    const wchar_t* m_obstacle = L"";
    XStr m_leftOut;
};

} // namespace aiff
