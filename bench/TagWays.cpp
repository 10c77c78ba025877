// SPDX-License-Identifier: MIT

// Reading and changing tags: the plug-in and TagLib.
#include "Session.h"

#include <fcntl.h>
#include <fstream>
#include <taglib/aifffile.h>
#include <taglib/attachedpictureframe.h>
#include <taglib/id3v2tag.h>
#include <taglib/tpropertymap.h>
#include <unistd.h>
#include <vector>

namespace
{

// Titles of two lengths, another one at each call, so that all of the tag moves.
std::string NextTitle()
{
    static unsigned count = 0;
    return ++count % 2 == 0 ? "Even" : "Odd numbered";
}

// Of the items of a tag blob, the data of the largest.
int64_t LargestData(std::span<const uint8_t> blob)
{
    int64_t largest = 0;
    for (size_t at = 4; at + 4 <= blob.size();) {
        uint32_t size = 0;
        std::memcpy(&size, &blob[at], sizeof(size));
        size_t data = at + 4;
        for (int texts = 0; texts < 2; data += 2)
            texts += blob[data] == 0 && blob[data + 1] == 0;
        at += size;
        largest = std::max(largest, static_cast<int64_t>(at - data));
    }
    return largest;
}

int64_t ReadWithTagLib(const std::string& file)
{
    TagLib::RIFF::AIFF::File sound(file.c_str());
    if (!sound.isValid() || !sound.hasID3v2Tag() || sound.audioProperties()->channels() == 0)
        Fail("TagLib cannot read " + file);
    int64_t picture = 0;
    for (const auto* frame : sound.tag()->frameList()) {
        if (const auto* image = dynamic_cast<const TagLib::ID3v2::AttachedPictureFrame*>(frame))
            picture = image->picture().size();
        else if (frame->toString().isEmpty())
            Fail("TagLib reads an empty frame in " + file);
    }
    return picture;
}

enum class Flushing { No, Yes };

void EditWithTagLib(const std::string& file, Flushing flushing = Flushing::No)
{
    TagLib::RIFF::AIFF::File sound(file.c_str(), false);
    sound.tag()->setTitle(NextTitle());
    if (!sound.save())
        Fail("TagLib cannot write " + file);
    if (flushing == Flushing::No)
        return;
    const int descriptor = open(file.c_str(), O_RDWR);
    if (fsync(descriptor) != 0)
        Fail("cannot flush " + file);
    close(descriptor);
}

void DeleteWithTagLib(const std::string& file)
{
    TagLib::RIFF::AIFF::File sound(file.c_str(), false);
    sound.setProperties({});
    if (!sound.save() || sound.hasID3v2Tag())
        Fail("TagLib cannot delete the tag of " + file);
}

void AppendInt(std::vector<uint8_t>& bytes, size_t value)
{
    for (int shift = 0; shift < 32; shift += 8)
        bytes.push_back(static_cast<uint8_t>(value >> shift));
}

// A tag blob that sets the title and so many other fields.
std::vector<uint8_t> BlobOf(size_t others)
{
    std::vector<uint8_t> blob;
    AppendInt(blob, others + 1);
    for (size_t i = 0; i <= others; ++i) {
        const std::string name = i == 0 ? "Title" : "Field " + std::to_string(i);
        const std::string text = name + '\0' + NextTitle() + '\0';
        AppendInt(blob, 4 + 2 * text.size());
        for (const char c : text)
            blob.insert(blob.end(), {static_cast<uint8_t>(c), 0});
    }
    return blob;
}

void EditWithPlugin(const Plugin& plugin, const std::string& file, size_t others = 0,
                    Flushing flushing = Flushing::No)
{
    const std::wstring name(file.begin(), file.end()); // ASCII
    const std::vector<uint8_t> blob = BlobOf(others);
    STQvCodecGetSet record = {};
    record.pText1 = name.c_str();
    record.pData = blob.data();
    record.nDataSize = static_cast<int32_t>(blob.size());
    void* decoder = plugin.Create(nullptr);
    STQvCodecGetSet durable = {};
    durable.nValue1 = flushing == Flushing::Yes;
    if (plugin.Set(decoder, QV_KEY_DURABLE_EDITS, &durable) != 1 ||
        plugin.Set(decoder, QV_KEY_ID_TAGS, &record) != 1)
        Fail("the plug-in cannot write " + file);
    plugin.Destroy(decoder);
}

void DeleteWithPlugin(const Plugin& plugin, const std::string& file)
{
    const std::wstring name(file.begin(), file.end()); // ASCII
    void* decoder = plugin.Create(nullptr);
    STQvCodecGetSet durable = {};
    if (plugin.Set(decoder, QV_KEY_DURABLE_EDITS, &durable) != 1 ||
        plugin.DeleteATag(decoder, name.c_str(), nullptr) != 1)
        Fail("the plug-in cannot delete the tag of " + file);
    plugin.Destroy(decoder);
}

// Bytes that this process has handed to the system to write.
int64_t BytesWritten()
{
    std::ifstream counters("/proc/self/io");
    for (std::string line; std::getline(counters, line);)
        if (line.starts_with("wchar:"))
            return std::stoll(line.substr(6));
    return 0;
}

// For an edit, on average of both titles.
template <class Edit>
int64_t WrittenBy(const std::string& file, Edit edit)
{
    const int64_t before = BytesWritten();
    edit(file);
    edit(file);
    return (BytesWritten() - before) / 2;
}

} // namespace

std::map<std::string, Way> TagWays(const std::string& pluginPath)
{
    const auto plugin = [pluginPath]() -> const Plugin& {
        static const Plugin loaded(pluginPath);
        return loaded;
    };
    const auto edit = [=](const std::string& file) { EditWithPlugin(plugin(), file); };
    constexpr uint32_t kTexts = QV_OPEN_READ_TAGS | QV_OPEN_PROPERTIES;
    return {
        {"tags_plugin",
         [=](auto& file) { return LargestData(Session(plugin(), file, kTexts).TagBlob()); }},
        {"tags_taglib", ReadWithTagLib},
        {"edit_plugin", [=](auto& file) { return edit(file), 1; }},
        {"edit_plugin_flushed",
         [=](auto& file) { return EditWithPlugin(plugin(), file, 0, Flushing::Yes), 1; }},
        {"edit_taglib_flushed", [](auto& file) { return EditWithTagLib(file, Flushing::Yes), 1; }},
        {"edit_12500", [=](auto& file) { return EditWithPlugin(plugin(), file, 12500), 1; }},
        {"edit_100000", [=](auto& file) { return EditWithPlugin(plugin(), file, 100000), 1; }},
        {"edit_taglib", [](auto& file) { return EditWithTagLib(file), 1; }},
        {"delete_plugin", [=](auto& file) { return DeleteWithPlugin(plugin(), file), 1; }},
        {"delete_taglib", [](auto& file) { return DeleteWithTagLib(file), 1; }},
        {"written_plugin", [=](auto& file) { return WrittenBy(file, edit); }},
        {"written_taglib",
         [](auto& file) { return WrittenBy(file, [](auto& one) { EditWithTagLib(one); }); }},
    };
}
