#include "host/writers/CarriedTags.h"

#include "host/writers/PictureKinds.h"
#include "host/writers/TagNames.h"
#include "support/Rating.h"
#include "support/text/Ascii.h"

#include <algorithm>
#include <attachedpictureframe.h>
#include <charconv>
#include <commentsframe.h>
#include <flacpicture.h>
#include <id3v2tag.h>
#include <infotag.h>
#include <popularimeterframe.h>
#include <textidentificationframe.h>
#include <unsynchronizedlyricsframe.h>
#include <urllinkframe.h>
#include <xiphcomment.h>

namespace aiff::host
{
namespace
{

using TagLib::ByteVector;
using TagLib::String;
using TagLib::StringList;
namespace ID3v2 = TagLib::ID3v2;

constexpr auto kUtf8 = String::UTF8;

// The size of an ID3v2 tag has 28 bits, that of a FLAC block 24.
constexpr size_t kMaxId3Size = (size_t{1} << 28) - 1;
constexpr size_t kMaxBlockSize = (size_t{1} << 24) - 1;

String Text(std::string_view utf8)
{
    return String(std::string(utf8), kUtf8);
}

StringList Texts(const std::vector<std::string>& values)
{
    StringList list;
    for (const std::string& value : values)
        list.append(Text(value));
    return list;
}

ByteVector Bytes(std::span<const uint8_t> bytes)
{
    return ByteVector(reinterpret_cast<const char*>(bytes.data()),
                      static_cast<unsigned>(bytes.size()));
}

void Append(std::vector<uint8_t>& bytes, const ByteVector& more)
{
    bytes.insert(bytes.end(), more.begin(), more.end());
}

bool IsField(const TagItem& item)
{
    return !item.IsInformation() && !item.name.starts_with('_');
}

// What follows "Comment " or "User defined URL link "; false for other fields.
bool TakeDescription(const std::string& name, std::string_view field, std::string& description)
{
    const std::string_view whole = name;
    if (!EqualNoCase(whole.substr(0, field.size()), field))
        return false;
    if (whole.size() > field.size() && whole[field.size()] != ' ')
        return false;
    description = whole.substr(std::min(field.size() + 1, whole.size()));
    return true;
}

void AddComments(ID3v2::Tag& tag, const std::string& description, const TagItem& item)
{
    for (const std::string& value : item.Values()) {
        auto* frame = new ID3v2::CommentsFrame(kUtf8); // the tag owns its frames
        frame->setDescription(Text(description));
        frame->setText(Text(value));
        tag.addFrame(frame);
    }
}

void AddUserUrls(ID3v2::Tag& tag, const std::string& description, const TagItem& item)
{
    for (const std::string& value : item.Values()) {
        auto* frame = new ID3v2::UserUrlLinkFrame(kUtf8);
        frame->setDescription(Text(description));
        frame->setUrl(Text(value));
        tag.addFrame(frame);
    }
}

void AddUserText(ID3v2::Tag& tag, const TagItem& item)
{
    auto* frame = new ID3v2::UserTextIdentificationFrame(kUtf8);
    frame->setDescription(Text(item.name));
    frame->setText(Texts(item.Values()));
    tag.addFrame(frame);
}

void AddRating(ID3v2::Tag& tag, const std::string& value)
{
    size_t rating = 0;
    std::from_chars(value.data(), value.data() + value.size(), rating);
    auto* frame = new ID3v2::PopularimeterFrame;
    frame->setEmail(Text(POPM_User));
    frame->setRating(POPM10_Table[std::min(rating, std::size(POPM10_Table) - 1)]);
    tag.addFrame(frame);
}

void AddNamedFrame(ID3v2::Tag& tag, std::string_view id, const TagItem& item)
{
    const ByteVector code(id.data(), static_cast<unsigned>(id.size()));
    if (id == "USLT") {
        auto* frame = new ID3v2::UnsynchronizedLyricsFrame(kUtf8);
        frame->setText(Text(item.value));
        tag.addFrame(frame);
    } else if (id == "POPM") {
        AddRating(tag, item.value);
    } else if (id.front() == 'W') {
        auto* frame = new ID3v2::UrlLinkFrame(code);
        frame->setUrl(Text(item.Values().front()));
        tag.addFrame(frame);
    } else {
        auto* frame = new ID3v2::TextIdentificationFrame(code, kUtf8);
        frame->setText(Texts(item.Values()));
        tag.addFrame(frame);
    }
}

void AddFieldFrame(ID3v2::Tag& tag, const TagItem& item)
{
    std::string description;
    if (TakeDescription(item.name, kCommentField, description))
        AddComments(tag, description, item);
    else if (TakeDescription(item.name, kUserUrlField, description))
        AddUserUrls(tag, description, item);
    else if (const TagNames* names = FindTagNames(item.name); names != nullptr)
        AddNamedFrame(tag, names->frame, item);
    else
        AddUserText(tag, item);
}

void AddPictureFrame(ID3v2::Tag& tag, const TagItem& item)
{
    auto* frame = new ID3v2::AttachedPictureFrame;
    frame->setTextEncoding(kUtf8);
    frame->setMimeType(PictureType(item.data));
    const unsigned type = PictureKindOfRole(item.PictureRole()).type;
    frame->setType(static_cast<ID3v2::AttachedPictureFrame::Type>(type));
    frame->setDescription(Text(item.PictureDescription()));
    frame->setPicture(Bytes(item.data));
    tag.addFrame(frame);
}

// Pads the data to an even size.
void AppendChunk(std::vector<uint8_t>& chunks, const char* id, const ByteVector& data)
{
    Append(chunks, id);
    Append(chunks, ByteVector::fromUInt(data.size(), false));
    Append(chunks, data);
    if (data.size() % 2 != 0)
        chunks.push_back(0);
}

ByteVector InfoList(const std::vector<TagItem>& tags)
{
    TagLib::RIFF::Info::Tag info;
    for (const TagItem& item : tags) {
        const TagNames* names = IsField(item) ? FindTagNames(item.name) : nullptr;
        if (names != nullptr && !names->info.empty())
            info.setFieldText(ByteVector(names->info.data(), 4),
                              Texts(item.Values()).toString("; "));
    }
    return info.isEmpty() ? ByteVector() : info.render();
}

size_t DataSize(const std::vector<TagItem>& tags)
{
    size_t size = 0;
    for (const TagItem& item : tags)
        size += item.name.size() + item.value.size() + item.data.size();
    return size;
}

// "3/12" is a number and a total, which Vorbis comments keep separately.
void AddNumber(TagLib::Ogg::XiphComment& comment, const TagNames& names, const std::string& value)
{
    const size_t slash = value.find('/');
    comment.addField(std::string(names.vorbis), Text(value.substr(0, slash)), false);
    if (slash != std::string::npos)
        comment.addField(std::string(names.totals.front()), Text(value.substr(slash + 1)), false);
}

ByteVector CommentBlock(const std::vector<TagItem>& tags, std::span<const uint8_t> encoders)
{
    TagLib::Ogg::XiphComment comment(Bytes(encoders));
    for (const TagItem& item : tags) {
        if (!IsField(item))
            continue;
        const std::string field = VorbisName(item.name);
        const TagNames* names = FindVorbisName(field);
        if (names != nullptr && names->HasTotal()) {
            AddNumber(comment, *names, item.value);
            continue;
        }
        for (const std::string& value : item.Values())
            comment.addField(field, Text(value), false);
    }
    return comment.render(false);
}

ByteVector PictureBlock(const TagItem& item)
{
    TagLib::FLAC::Picture picture;
    const unsigned type = PictureKindOfRole(item.PictureRole()).type;
    picture.setType(static_cast<TagLib::FLAC::Picture::Type>(type));
    picture.setMimeType(PictureType(item.data));
    picture.setDescription(Text(item.PictureDescription()));
    picture.setData(Bytes(item.data));
    return picture.render();
}

bool AppendBlock(std::vector<uint8_t>& blocks, uint8_t type, const ByteVector& data)
{
    if (data.size() > kMaxBlockSize)
        return false;
    blocks.push_back(type);
    for (int shift = 16; shift >= 0; shift -= 8)
        blocks.push_back(static_cast<uint8_t>(data.size() >> shift));
    Append(blocks, data);
    return true;
}

} // namespace

Result<std::vector<uint8_t>> WavTagChunks(const std::vector<TagItem>& tags)
{
    if (DataSize(tags) > kMaxId3Size / 2)
        return Problem("has tags too large to be carried over (--no-tags leaves them out)");
    ID3v2::Tag tag;
    for (const TagItem& item : tags) {
        if (item.IsPicture())
            AddPictureFrame(tag, item);
        else if (IsField(item))
            AddFieldFrame(tag, item);
    }
    std::vector<uint8_t> chunks;
    if (tag.isEmpty())
        return chunks;
    const ByteVector info = InfoList(tags);
    if (!info.isEmpty())
        AppendChunk(chunks, "LIST", info);
    AppendChunk(chunks, "id3 ", tag.render(ID3v2::v4));
    return chunks;
}

Result<std::vector<uint8_t>> FlacTagBlocks(const std::vector<TagItem>& tags,
                                           std::span<const uint8_t> comment)
{
    std::vector<uint8_t> blocks;
    size_t last = 0;
    bool fits = AppendBlock(blocks, kCommentBlock, CommentBlock(tags, comment));
    for (const TagItem& item : tags) {
        if (!item.IsPicture())
            continue;
        last = blocks.size();
        fits = fits && AppendBlock(blocks, kPictureBlock, PictureBlock(item));
    }
    if (!fits)
        return Problem("has tags too large for FLAC (--no-tags leaves them out)");
    blocks[last] |= kLastBlock;
    return blocks;
}

} // namespace aiff::host
