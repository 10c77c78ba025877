// SPDX-License-Identifier: MIT
#include "host/author/tags/SourceTags.h"

#include "host/author/tags/ChunkText.h"
#include "host/author/tags/HeaderTexts.h"
#include "host/author/tags/ReadId3.h"
#include "host/author/tags/TagDifferences.h"
#include "host/author/tags/UpdateTag.h"
#include "host/author/tags/WavTags.h"
#include "host/writers/MakeId3.h"
#include "support/text/Ascii.h"
#include "tags/TagItems.h"

#include <algorithm>
#include <fileref.h>
#include <flacfile.h>
#include <xiphcomment.h>

namespace aiff::host
{
namespace
{

constexpr char kTooLarge[] = "has tags that are too large for an ID3v2 tag";

bool HoldsAll(const TagContent& content, const TagContent& part)
{
    const auto isThere = [&content](const auto& text) {
        const auto found = content.texts.find(text.first);
        return found != content.texts.end() && found->second == text.second;
    };
    return std::ranges::all_of(part.texts, isThere) &&
           std::ranges::includes(content.leftOut, part.leftOut) &&
           content.pictures.size() == part.pictures.size();
}

void NoteDifferences(const TagContent& wanted, SourceTags& source)
{
    std::ranges::move(TagDifferences(wanted, ReadId3(source.id3v2)),
                      std::back_inserter(source.notes));
}

// Takes what an INFO list says beyond the tag into the tag, which keeps its version.
Problem AddInfo(const TagLib::PropertyMap& info, SourceTags& source)
{
    TagContent content = ReadId3(source.id3v2);
    TagContent more;
    for (const auto& [property, values] : info)
        if (!content.texts.contains(property))
            more.Add(property, values);
    const TagLib::StringList different = content.AddMissing(info);
    if (!different.isEmpty())
        source.notes.push_back("left out: " + Utf8Of(different.toString(", ")) +
                               " in its INFO list, where its ID3v2 tag says something else");
    const Result<std::vector<uint8_t>> added =
        MakeId3(more, source.id3v2.empty() ? RolesAs::PeopleFrames : RolesAs::UserText);
    if (!added || added->empty())
        return added.Why();
    const bool isNew = source.id3v2.empty();
    std::vector<uint8_t> tag = *added;
    NTag list;
    if (!isNew && (!ReadTagList(*added, list) || !UpdateTag(source.id3v2, list, tag)))
        return kTooLarge;
    if (isNew || HoldsAll(ReadId3(tag), content)) {
        source.id3v2 = std::move(tag);
        NoteDifferences(more, source);
    } else {
        source.notes.emplace_back("has an INFO list that its ID3v2 tag cannot take up, and which "
                                  "is left out");
    }
    return {};
}

Result<SourceTags> TagsOfWav(WavTags wav)
{
    SourceTags source;
    source.id3v2 = std::move(wav.id3v2);
    source.marks = std::move(wav.marks);
    if (!wav.others.empty())
        source.notes.push_back("left out: chunks that only " + std::string(wav.format) +
                               " files hold (" + Enumerated(wav.others) + ")");
    NTag list;
    if (source.id3v2.empty() || ReadTagList(source.id3v2, list)) {
        if (Problem problem = AddInfo(wav.info, source))
            return problem;
        return source;
    }
    source.notes.emplace_back("has an ID3v2 tag that cannot be read, which is passed on as it is");
    if (!wav.info.isEmpty())
        source.notes.emplace_back("has an INFO list beside it, which is left out");
    return source;
}

void AddPictures(const TagLib::List<TagLib::FLAC::Picture*>& pictures, TagContent& content)
{
    for (const TagLib::FLAC::Picture* picture : pictures)
        content.pictures.push_back({static_cast<unsigned>(picture->type()), picture->mimeType(),
                                    picture->description(), picture->data()});
}

// Names what TagLib does not read of a Vorbis comment: what follows a zero, and odd ones among the
// pictures that some programs put there.
void AddUnreadComments(const TagLib::ByteVector& block, TagContent& content)
{
    constexpr unsigned kField = 4; // a size or a number
    size_t pictures = 0;
    unsigned at = kField + std::min(block.toUInt(0U, false), block.size());
    for (at += kField; block.size() - std::min(at, block.size()) > kField;) {
        const unsigned size = block.toUInt(at, false);
        const TagLib::ByteVector comment = block.mid(at + kField, size);
        const std::string text(comment.begin(), comment.end());
        const std::string name = text.substr(0, text.find('='));
        at += kField + std::min(size, block.size());
        pictures += EqualNoCase(name, "METADATA_BLOCK_PICTURE") || EqualNoCase(name, "COVERART");
        if (text.find('\0') != std::string::npos)
            content.leftOut.insert("what follows a zero in " + name);
    }
    if (pictures > content.pictures.size())
        content.leftOut.insert("a picture that cannot be read");
}

// Names the metadata blocks of a FLAC file that an AIFF file has no place for.
void AddBlocks(TagLib::FLAC::File& file, TagContent& content)
{
    constexpr unsigned kHeader = 4;
    constexpr unsigned kApplication = 2;
    constexpr unsigned kComment = 4;
    constexpr unsigned kCueSheet = 5;
    constexpr unsigned kLast = 0x80;
    unsigned type = 0;
    for (file.seek(file.find("fLaC") + 4); (type & kLast) == 0;) {
        const TagLib::ByteVector header = file.readBlock(kHeader);
        if (header.size() < kHeader)
            return;
        type = static_cast<uint8_t>(header[0]);
        if ((type & ~kLast) == kApplication)
            content.leftOut.insert("an application block");
        if ((type & ~kLast) == kCueSheet)
            content.leftOut.insert("a cue sheet");
        const unsigned size = header.toUInt(1U, 3U);
        if ((type & ~kLast) != kComment)
            file.seek(static_cast<long>(size), TagLib::File::Current);
        else
            AddUnreadComments(file.readBlock(size), content);
    }
}

// False when TagLib does not know the format.
bool ReadContent(const std::string& path, TagContent& content)
{
    const TagLib::FileRef file(path.c_str(), false);
    if (file.isNull() || file.tag() == nullptr)
        return false;
    const TagLib::PropertyMap properties = file.file()->properties();
    content.AddMissing(properties);
    for (const TagLib::String& name : properties.unsupportedData())
        content.leftOut.insert(Utf8Of(name));
    if (auto* flac = dynamic_cast<TagLib::FLAC::File*>(file.file())) {
        if (flac->hasXiphComment())
            AddPictures(flac->xiphComment()->pictureList(), content);
        AddBlocks(*flac, content);
        AddPictures(flac->pictureList(), content);
        if (flac->hasID3v2Tag() && flac->hasXiphComment())
            content.leftOut.insert("a second tag (ID3v2)");
        if (flac->hasID3v1Tag())
            content.leftOut.insert("a second tag (ID3v1)");
    } else if (auto* comment = dynamic_cast<TagLib::Ogg::XiphComment*>(file.tag())) {
        AddPictures(comment->pictureList(), content);
    }
    return true;
}

// The texts of other files.
void ReadStrings(SNDFILE* file, TagContent& content)
{
    static constexpr std::pair<int, const char*> kStrings[] = {
        {SF_STR_ALBUM, "ALBUM"},     {SF_STR_ARTIST, "ARTIST"},
        {SF_STR_COMMENT, "COMMENT"}, {SF_STR_COPYRIGHT, "COPYRIGHT"},
        {SF_STR_DATE, "DATE"},       {SF_STR_GENRE, "GENRE"},
        {SF_STR_LICENSE, "LICENSE"}, {SF_STR_SOFTWARE, "ENCODING"},
        {SF_STR_TITLE, "TITLE"},     {SF_STR_TRACKNUMBER, "TRACKNUMBER"}};
    for (const auto& [kind, property] : kStrings) {
        const char* const text = sf_get_string(file, kind);
        if (text == nullptr)
            continue;
        const std::string_view bytes = text;
        for (const std::string& value : ChunkTexts(
                 {reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()}, OldText::Riff))
            content.Add(property, TagText(value));
    }
}

} // namespace

Result<SourceTags> ReadSourceTags(const std::string& path, SNDFILE* file)
{
    WavTags wav = ReadWavTags(path);
    if (!wav.format.empty())
        return TagsOfWav(std::move(wav));
    TagContent content;
    if (!ReadHeaderTexts(path, content) && !ReadContent(path, content))
        ReadStrings(file, content);
    SourceTags source;
    if (!content.leftOut.empty())
        source.notes.push_back("left out, as an ID3v2 tag cannot hold it: " +
                               Enumerated(content.leftOut));
    Result<std::vector<uint8_t>> tag = MakeId3(content);
    if (!tag)
        return tag.Why();
    source.id3v2 = std::move(*tag);
    content.leftOut.clear(); // is told
    NoteDifferences(content, source);
    return source;
}

} // namespace aiff::host
