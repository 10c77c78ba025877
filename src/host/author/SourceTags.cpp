#include "host/author/SourceTags.h"

#include "host/writers/PictureKinds.h"
#include "host/writers/TagNames.h"
#include "tags/TagFields.h"
#include "tags/TagUpdate.h"
#include "tags/id3parser/text/CodePages.h"

#include <fileref.h>
#include <flacfile.h>
#include <tpropertymap.h>
#include <wavfile.h>
#include <xiphcomment.h>

namespace aiff::host
{
namespace
{

XStr Wide(const TagLib::String& text)
{
    return id3parser::conv::Utf8ToText(text.to8Bit(true));
}

// The field of a property that TagLib has read; the property's own name when there is none.
XStr FieldOf(const TagLib::String& property)
{
    const TagNames* names = FindVorbisName(property.to8Bit(true));
    return names != nullptr ? XStr(names->field.begin(), names->field.end()) : Wide(property);
}

// "3" and a total of "12" become "3/12".
void JoinTotals(TagLib::PropertyMap& properties, const TagNames& names)
{
    const std::string number(names.vorbis);
    for (const std::string_view name : names.totals) {
        const std::string total(name);
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
    for (const TagNames& names : AllTagNames()) {
        if (names.HasTotal())
            JoinTotals(properties, names);
    }
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
        const PictureKind& kind = PictureKindOfType(static_cast<unsigned>(picture->type()));
        const std::string name =
            PictureItemName(++index, kind, picture->description().to8Bit(true));
        const TagLib::ByteVector data = picture->data();
        list.AddTag(id3parser::conv::Utf8ToText(name), data.data(), data.size());
    }
}

// Gives access to the ID3v2 tag of a WAV file as it is.
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

Result<std::vector<uint8_t>> ReadSourceTag(const std::string& path)
{
    std::vector<uint8_t> tag = OwnWavTag(path);
    if (!tag.empty())
        return tag;
    const NTag list = ReadList(path);
    if (list.Count() == 0)
        return tag;
    // Only version 2.4 keeps several values of a field apart and knows full dates.
    TagOptions options;
    options.SetOption(ID3v2Option::kWriteV24);
    options.SetOption(ID3v2Option::kEncodeUTF8);
    options.SetOption(ID3v2Option::kFullDateInYear);
    TagUpdate update(options, {});
    update.Apply(list, TagUpdate::Task::Set);
    if (!update.Write(0, 0, 2, tag))
        return Problem("has tags that are too large for an ID3v2 tag");
    return tag;
}

} // namespace aiff::host
