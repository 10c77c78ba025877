// SPDX-License-Identifier: MIT
#include "host/writers/CarriedTags.h"

#include "host/writers/TagNames.h"

#include <algorithm>
#include <flacpicture.h>
#include <infotag.h>
#include <xiphcomment.h>

namespace aiff::host
{
namespace
{

using TagLib::ByteVector;
using TagLib::PropertyMap;
using TagLib::String;

// The size of a FLAC block has 24 bits.
constexpr size_t kMostBlockSize = (size_t{1} << 24) - 1;

void Append(std::vector<uint8_t>& bytes, const ByteVector& more)
{
    bytes.insert(bytes.end(), more.begin(), more.end());
}

ByteVector Bytes(std::span<const uint8_t> bytes)
{
    return ByteVector(reinterpret_cast<const char*>(bytes.data()),
                      static_cast<unsigned>(bytes.size()));
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

ByteVector InfoList(const TagContent& content)
{
    TagLib::RIFF::Info::Tag info;
    for (const auto& [property, values] : content.texts) {
        const std::string_view id = InfoOfProperty(Utf8Of(property));
        const char* const separator = content.joined.contains(property) ? "/" : "; ";
        if (!id.empty())
            info.setFieldText(ByteVector(id.data(), 4), values.toString(separator));
    }
    return info.isEmpty() ? ByteVector() : info.render();
}

// "3/12" is a number and a total, which Vorbis comments keep separately.
void SplitTotals(PropertyMap& texts)
{
    for (const NumberedProperty& names : NumberedProperties()) {
        const auto number = texts.find(TagText(names.number));
        const String total = TagText(names.totals.front());
        if (number == texts.end() || number->second.size() != 1 || texts.contains(total))
            continue;
        String& text = number->second.front();
        const int slash = text.find("/");
        if (slash <= 0 || slash + 1 == static_cast<int>(text.size()) || text.rfind("/") != slash)
            continue;
        texts.insert(total, text.substr(static_cast<unsigned>(slash) + 1));
        text = text.substr(0, static_cast<unsigned>(slash));
    }
}

// The name of a Vorbis comment cannot hold every character.
String CommentName(String name)
{
    for (wchar_t& c : name)
        c = c < L' ' || c > L'}' || c == L'=' ? L'_' : c;
    return name;
}

ByteVector CommentBlock(PropertyMap texts, std::span<const uint8_t> encoders,
                        std::vector<std::string>& notes)
{
    TagLib::Ogg::XiphComment comment(Bytes(encoders));
    SplitTotals(texts);
    for (const auto& [property, values] : texts) {
        const String name = CommentName(property);
        if (name != property)
            notes.push_back("has a field \"" + Utf8Of(property) +
                            "\" that FLAC cannot name so; it is called \"" + Utf8Of(name) + "\"");
        for (const String& value : values)
            comment.addField(name, value, false);
    }
    return comment.render(false);
}

ByteVector PictureBlock(const TagPicture& source)
{
    TagLib::FLAC::Picture picture;
    picture.setType(static_cast<TagLib::FLAC::Picture::Type>(source.type));
    picture.setMimeType(source.mimeType);
    picture.setDescription(source.description);
    picture.setData(source.data);
    return picture.render();
}

bool AppendBlock(std::vector<uint8_t>& blocks, uint8_t type, const ByteVector& data)
{
    if (data.size() > kMostBlockSize)
        return false;
    blocks.push_back(type);
    for (int shift = 16; shift >= 0; shift -= 8)
        blocks.push_back(static_cast<uint8_t>(data.size() >> shift));
    Append(blocks, data);
    return true;
}

} // namespace

TagBytes WavTagChunks(const CarriedTags& tags)
{
    TagBytes chunks{tags.wavChunks, tags.notes};
    const ByteVector info = InfoList(tags.content);
    if (!info.isEmpty())
        AppendChunk(chunks.bytes, "LIST", info);
    if (!tags.id3v2.empty())
        AppendChunk(chunks.bytes, "id3 ", Bytes(tags.id3v2));
    return chunks;
}

Result<TagBytes> FlacTagBlocks(const CarriedTags& tags, std::span<const uint8_t> comment)
{
    const TagContent& content = tags.content;
    TagBytes blocks{{}, tags.notes};
    size_t last = 0;
    bool fits = AppendBlock(blocks.bytes, kCommentBlock,
                            CommentBlock(content.texts, comment, blocks.notes));
    for (const TagPicture& picture : content.pictures) {
        last = blocks.bytes.size();
        fits = fits && AppendBlock(blocks.bytes, kPictureBlock, PictureBlock(picture));
    }
    if (!fits)
        return Problem("has tags too large for FLAC (--no-tags leaves them out)");
    blocks.bytes[last] |= kLastBlock;
    for (const String& property : content.joined)
        blocks.notes.push_back(Utf8Of(property) + " \"" +
                               Utf8Of(content.texts[property].toString("/")) +
                               "\" becomes several comments, as \"/\" separates values in its tag");
    if (!content.recased.empty())
        blocks.notes.push_back("in upper case, as FLAC has all names: " +
                               Enumerated(content.recased));
    if (!content.leftOut.empty())
        blocks.notes.push_back("left out, as FLAC cannot hold it: " + Enumerated(content.leftOut));
    if (content.isDamaged)
        blocks.notes.emplace_back("has a damaged ID3v2 tag: what cannot be read of it is left out");
    return blocks;
}

} // namespace aiff::host
