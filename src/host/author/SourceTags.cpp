#include "host/author/SourceTags.h"

#include "host/writers/FieldNames.h"
#include "tags/TagFields.h"
#include "tags/TagUpdate.h"
#include "tags/id3parser/text/CodePages.h"

#include <fileref.h>
#include <flacfile.h>
#include <tpropertymap.h>
#include <wavfile.h>
#include <xiphcomment.h>

#include <algorithm>
#include <array>

namespace host
{
namespace
{

// Totals that other formats keep in a field of their own, and ID3v2 behind the number.
constexpr std::array<const char*, 2> kTrackTotals = {"TRACKTOTAL", "TOTALTRACKS"};
constexpr std::array<const char*, 2> kDiscTotals = {"DISCTOTAL", "TOTALDISCS"};

XStr Wide(const TagLib::String& text)
{
    return id3parser::conv::Utf8ToText(text.to8Bit(true));
}

// The field of a property as TagLib names it; one without a field keeps its name.
XStr FieldOf(const TagLib::String& property)
{
    const FieldName* name = FindVorbisName(property.to8Bit(true));
    return name != nullptr ? XStr(name->field.begin(), name->field.end()) : Wide(property);
}

// "3" and a total of "12" become "3/12".
void JoinTotal(TagLib::PropertyMap& properties, const char* number,
               std::span<const char* const> totals)
{
    for (const char* total : totals) {
        if (!properties.contains(total))
            continue;
        TagLib::StringList& numbers = properties[number];
        const TagLib::StringList& counts = properties[total];
        if (numbers.size() == 1 && counts.size() == 1 && numbers.front().find("/") < 0)
            numbers.front() += "/" + counts.front();
        properties.erase(total);
    }
}

void AddProperties(TagLib::PropertyMap properties, NTag& list)
{
    JoinTotal(properties, "TRACKNUMBER", kTrackTotals);
    JoinTotal(properties, "DISCNUMBER", kDiscTotals);
    for (const auto& [property, values] : properties) {
        XStr text;
        for (const TagLib::String& value : values)
            text += (text.empty() ? L"" : L"\r") + Wide(value);
        const XStr field = FieldOf(property);
        const bool taken = list.FindElement(field) != nullptr;
        if (!text.empty())
            list.AddTag(taken ? Wide(property) : field, text);
    }
}

void AddPictures(const TagLib::List<TagLib::FLAC::Picture*>& pictures, NTag& list)
{
    int index = 0;
    for (const TagLib::FLAC::Picture* picture : pictures) {
        XStr role = NTag::AlbumArtAPICPicTypeToElementDescription(picture->type());
        if (role.empty())
            role = L"_Undefined";
        XStr name = XStr(kAlbumArtPrefix) + std::to_wstring(++index) + role;
        if (!picture->description().isEmpty())
            name += XStr(kSubDescriptionMark) + Wide(picture->description());
        const TagLib::ByteVector data = picture->data();
        list.AddTag(name, data.data(), data.size());
    }
}

// Gives access to the chunks of a WAV file.
class WavChunks : public TagLib::RIFF::WAV::File
{
public:
    using File::File;

    TagLib::ByteVector OwnTag()
    {
        for (unsigned i = 0; i < chunkCount(); ++i) {
            if (chunkName(i) == "ID3 " || chunkName(i) == "id3 ")
                return chunkData(i);
        }
        return {};
    }
};

// Empty when there is none.
std::vector<uint8_t> OwnWavTag(const std::string& path)
{
    WavChunks wav(path.c_str(), false);
    if (!wav.isValid() || !wav.hasID3v2Tag())
        return {};
    const TagLib::ByteVector data = wav.OwnTag();
    std::vector<uint8_t> tag(data.begin(), data.end());
    NTag readable;
    if (!ReadTagList(tag, readable))
        return {};
    return tag;
}

NTag ReadList(const std::string& path)
{
    NTag list;
    const TagLib::FileRef file(path.c_str(), false);
    if (file.isNull() || file.tag() == nullptr)
        return list;
    AddProperties(file.file()->properties(), list);
    if (auto* flac = dynamic_cast<TagLib::FLAC::File*>(file.file()))
        AddPictures(flac->pictureList(), list);
    else if (auto* comment = dynamic_cast<TagLib::Ogg::XiphComment*>(file.tag()))
        AddPictures(comment->pictureList(), list);
    return list;
}

} // namespace

bool ReadSourceTag(const std::string& path, std::vector<uint8_t>& tag)
{
    tag = OwnWavTag(path);
    if (!tag.empty())
        return true;
    const NTag list = ReadList(path);
    if (list.Count() == 0)
        return true;
    // Only version 2.4 keeps several values of a field apart and knows full dates.
    TagOptions options;
    options.SetOption(ID3v2Option::kWriteV24);
    options.SetOption(ID3v2Option::kEncodeUTF8);
    options.SetOption(ID3v2Option::kFullDateInYear);
    TagUpdate update(options, {});
    update.Apply(list, false);
    return update.Build() && update.Finish(0, 0, 2, tag);
}

} // namespace host
