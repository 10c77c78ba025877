// SPDX-License-Identifier: MIT
#include "tags/TagItems.h"

#include "support/text/Ascii.h"
#include "tags/BlobWriter.h"
#include "tags/TagFields.h"
#include "tags/TagPictures.h"
#include "tags/id3parser/text/CodePages.h"

#include <limits>
#include <unordered_set>

namespace aiff
{

using id3parser::FieldIndex;
using id3parser::conv::Utf8ToText;

namespace
{

// Sinks take an item as its name, its value piece by piece and its data.
class ListSink
{
public:
    void Item(std::string_view name) { Item(Utf8ToText(name)); }
    void Item(const XStr& name) { m_list.AddTag(name, XStr()); }
    void Value(std::string_view piece) { Last().value += Utf8ToText(piece); }
    void Data(std::span<const uint8_t> data) { Last().data.assign(data.begin(), data.end()); }
    void End() {}
    NTag Take() { return std::move(m_list); }

private:
    STInternalTag& Last() { return m_list[m_list.Count() - 1]; }

    NTag m_list;
};

class BlobSink
{
public:
    // Fills the block's memory as far as it goes.
    explicit BlobSink(XMem& blob, size_t room) : m_out(blob.Data(), room) { m_out.Int32(0); }

    void Item(std::string_view name)
    {
        Begin();
        Value(name);
        m_out.Unit(0);
    }
    void Item(const XStr& name)
    {
        Begin();
        for (const wchar_t c : name)
            m_out.Unit(static_cast<uint32_t>(c));
        m_out.Unit(0);
    }
    void Value(std::string_view piece)
    {
        id3parser::conv::ForEachCharacter(piece, [this](uint32_t c) { m_out.Unit(c); });
    }
    // The item's data, which is not needed any longer after the call.
    void Data(std::span<const uint8_t> data)
    {
        m_out.Unit(0);
        m_out.Bytes(data.data(), data.size());
        Close();
    }
    void End()
    {
        if (m_isOpen)
            Data({});
    }
    size_t Size() const { return m_out.Size(); }
    size_t Count() const { return m_count; }

private:
    void Begin()
    {
        End();
        m_isOpen = true;
        m_start = m_out.Size();
        m_out.Int32(0);
        ++m_count;
    }
    void Close()
    {
        m_isOpen = false;
        m_out.Int32At(m_start, m_out.Size() - m_start);
        m_out.Int32At(0, m_count);
    }

    BlobWriter m_out;
    size_t m_start = 0; // of the last item
    bool m_isOpen = false;
    size_t m_count = 0;
};

// Tells names that came before. Those of one tag differ, but that of its version.
class Names
{
public:
    explicit Names(bool areKept) : m_areKept(areKept) {}

    bool IsNew(std::string_view name) { return !m_areKept || IsNew(Utf8ToText(name)); }
    bool IsNew(const XStr& name) { return !m_areKept || m_names.insert(FoldCase(name)).second; }

private:
    bool m_areKept;
    std::unordered_set<XStr> m_names;
};

// Makes an item of a field once it shows a value.
template <class Sink>
class FieldItem : public id3parser::FieldSink
{
public:
    FieldItem(Sink& sink, Names& names) : m_sink(sink), m_names(names) {}

    void add(std::string_view field, std::string_view value) override
    {
        if (!m_isBegun) {
            m_isShown =
                field[0] != '_' && !EqualNoCase(field, kTagVersionField) && m_names.IsNew(field);
            if (m_isShown)
                m_sink.Item(field);
        } else if (m_isShown) {
            m_sink.Value({&id3parser::kItemValueSeparator, 1});
        }
        m_isBegun = true;
        if (m_isShown)
            m_sink.Value(value);
    }

private:
    Sink& m_sink;
    Names& m_names;
    bool m_isBegun = false;
    bool m_isShown = false;
};

} // namespace

bool TagItems::Add(std::vector<uint8_t> bytes)
{
    Tag tag;
    tag.bytes = std::move(bytes);
    tag.wire = id3parser::ReadWireTag(tag.bytes);
    if (!tag.wire.parses)
        return false;
    tag.size = tag.bytes.size();
    if (!tag.wire.resynchronised.empty())
        tag.bytes = std::vector<uint8_t>(); // the frames are in the copy
    tag.fields = FieldIndex(tag.wire.frames, FieldIndex::Of::Reading);
    m_tags.push_back(std::move(tag));
    return true;
}

template <class Sink>
void TagItems::Give(Sink& sink) const
{
    Names names(m_tags.size() > 1);
    for (const Tag& tag : m_tags) {
        if (&tag == &m_tags.front()) {
            sink.Item(kTagVersionField);
            sink.Value("ID3v2." + std::to_string(tag.wire.revision));
        }
        tag.fields.ForEachField([&](FieldIndex::Group group) {
            FieldItem<Sink> item(sink, names);
            ShowField(tag.wire.frames, group, item);
        });
        size_t count = 0;
        id3parser::t_frame scratch;
        for (const id3parser::WireFrame& wire : tag.wire.frames) {
            const std::optional<Picture> picture = PictureOf(wire, scratch);
            if (!picture.has_value())
                continue;
            const XStr name = PictureItemName(*picture, ++count);
            if (!names.IsNew(name))
                continue;
            sink.Item(name);
            sink.Data(picture->data);
        }
    }
    sink.End();
}

// Enough for what tags are usually made of: pictures, which keep their size, and a few texts,
// whose names and characters take two bytes each.
size_t TagItems::ExpectedSize() const
{
    constexpr size_t kTexts = 2048;
    size_t size = kTexts;
    for (const Tag& tag : m_tags)
        size += tag.size + std::min(tag.size, kTexts);
    return size;
}

NTag TagItems::List() const
{
    ListSink sink;
    Give(sink);
    return sink.Take();
}

bool TagItems::ToRawMemory(XMem& blob, int64_t& count) const
{
    blob.Clear();
    const size_t room = ExpectedSize();
    if (!blob.Reserve(room))
        return false;
    BlobSink first(blob, room);
    Give(first);
    const size_t size = first.Size();
    count = static_cast<int64_t>(first.Count());
    if (size > size_t{std::numeric_limits<int32_t>::max()})
        return false;
    if (size <= room)
        return blob.SetUsed(size);
    blob.Clear();
    if (!blob.SetUsed(size))
        return false;
    BlobSink second(blob, size);
    Give(second);
    return true;
}

bool ReadTagList(std::span<const uint8_t> bytes, NTag& list)
{
    TagItems items;
    const bool isRead = items.Add({bytes.begin(), bytes.end()});
    list = items.List();
    return isRead;
}

} // namespace aiff
