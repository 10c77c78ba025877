// SPDX-License-Identifier: MIT
#include "host/author/tags/FrameProperties.h"

#include "host/writers/TagContent.h"
#include "host/writers/TagNames.h"
#include "support/text/Ascii.h"

#include <id3v2tag.h>
#include <textidentificationframe.h>
#include <urllinkframe.h>

namespace aiff::host
{

using TagLib::ByteVector;
using TagLib::PropertyMap;
using TagLib::String;
using TagLib::StringList;
namespace ID3v2 = TagLib::ID3v2;

namespace
{

String NameOf(ID3v2::Frame& frame)
{
    const PropertyMap named = PropertiesOf(frame);
    return named.isEmpty() ? String() : named.begin()->first;
}

} // namespace

PropertyMap PropertiesOf(ID3v2::Frame& frame)
{
    ID3v2::Tag tag;
    tag.addFrame(&frame);
    PropertyMap properties = tag.properties();
    tag.removeFrame(&frame, false); // stays its owner's
    return properties;
}

// TagLib takes the recording dates of ID3v2.3, which are free text, for the date.
String PropertyOfText(const std::string& id)
{
    if (id == "TRDA")
        return id;
    const std::string known = id == "TORY" ? "TDOR" : id;
    ID3v2::TextIdentificationFrame frame(ByteVector(known.c_str()), String::UTF8);
    frame.setText("1");
    const String name = NameOf(frame);
    return name.isEmpty() ? String(known) : name;
}

String PropertyOfUserText(const std::string& description)
{
    if (description.empty())
        return {};
    for (const PropertyAlias& known : DescribedProperties())
        if (EqualNoCase(known.alias, description))
            return TagText(known.property);
    ID3v2::UserTextIdentificationFrame frame(TagText(description), StringList("1"), String::UTF8);
    return NameOf(frame);
}

String PropertyOfUrl(const std::string& id)
{
    if (id == "WCOM")
        return TagText(kCommercialUrl);
    if (id == "WFED")
        return "PODCASTURL";
    ID3v2::UrlLinkFrame frame(ByteVector(id.c_str()));
    frame.setUrl("1");
    return NameOf(frame);
}

String PropertyWithDescription(const std::string& base, const std::string& description)
{
    const String name = TagText(description).upper();
    return name.isEmpty() || name == base ? String(base) : base + ":" + name;
}

} // namespace aiff::host
