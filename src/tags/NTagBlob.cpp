// SPDX-License-Identifier: MIT

// The tag blob of a list, whose layout BlobWriter.h tells.

#include "tags/BlobWriter.h"
#include "tags/NTag.h"

#include <algorithm>
#include <limits>

namespace aiff
{

namespace
{

using Bytes = std::span<const uint8_t>;

constexpr size_t kIntSize = 4;

int32_t MemReadInt32(const uint8_t* bytes)
{
    const uint32_t value = uint32_t{bytes[0]} | uint32_t{bytes[1]} << 8 | uint32_t{bytes[2]} << 16 |
                           uint32_t{bytes[3]} << 24;
    return static_cast<int32_t>(value);
}

// A string ends where a reader of the blob will see its end.
std::wstring_view UpToZero(std::wstring_view text)
{
    return text.substr(0, text.find(L'\0'));
}

// How the strings of a blob are stored.
struct Utf16Form {
    static size_t Size(std::wstring_view text) { return 2 * (UpToZero(text).size() + 1); }

    static void Write(BlobWriter& out, std::wstring_view text)
    {
        for (const wchar_t c : UpToZero(text))
            out.Unit(static_cast<uint32_t>(c));
        out.Unit(0);
    }

    // Takes what lies before a zero unit, the end of the item or the end of the blob. Moves
    // `rest` and takes what it read off `remaining`, the bytes left of the item. An
    // item whose size does not even count itself has a negative rest: only the zero
    // unit ends its name.
    static Bytes Take(Bytes& rest, int64_t& remaining)
    {
        const auto left = static_cast<uint64_t>(remaining); // a negative rest is no limit
        const size_t most = std::min<uint64_t>(left, rest.size()) / 2;
        size_t size = 0;
        while (size < most && (rest[2 * size] | rest[2 * size + 1]) != 0)
            ++size;
        const Bytes text = rest.first(2 * size);
        const size_t taken = 2 * (size + (size < most ? 1 : 0));
        rest = rest.subspan(taken);
        remaining -= static_cast<int64_t>(taken);
        return text;
    }

    static XStr Text(Bytes bytes)
    {
        XStr text(bytes.size() / 2, L'\0');
        for (size_t i = 0; i < text.size(); ++i)
            text[i] = static_cast<wchar_t>(bytes[2 * i] | bytes[2 * i + 1] << 8);
        return text;
    }
};

struct Utf8Form {
    static size_t Size(std::wstring_view text) { return ToUtf8(UpToZero(text)).size() + 1; }

    static void Write(BlobWriter& out, std::wstring_view text)
    {
        const std::string bytes = ToUtf8(UpToZero(text));
        out.Bytes(bytes.c_str(), bytes.size() + 1);
    }

    // Takes what lies before a zero byte or the end of the blob.
    static Bytes Take(Bytes& rest, int64_t& remaining)
    {
        const auto length =
            static_cast<size_t>(std::find(rest.begin(), rest.end(), 0) - rest.begin());
        const Bytes text = rest.first(length);
        remaining -= static_cast<int64_t>(length) + 1;
        rest = rest.subspan(std::min(length + 1, rest.size()));
        return text;
    }

    static XStr Text(Bytes bytes) { return FromUtf8(std::string(bytes.begin(), bytes.end())); }
};

// An item where it lies in a blob.
struct RawItem {
    Bytes name, value, data;
};

template <class Form>
size_t ItemSize(const STInternalTag& tag)
{
    return kIntSize + Form::Size(tag.name) + Form::Size(tag.value) + tag.data.size();
}

template <class Form>
bool Encode(const std::vector<STInternalTag>& tags, XMem& blob)
{
    blob.Clear();
    size_t total = kIntSize;
    for (const STInternalTag& tag : tags)
        total += ItemSize<Form>(tag);
    if (total > size_t{std::numeric_limits<int32_t>::max()} || !blob.SetUsed(total))
        return false;
    BlobWriter out(blob.Data(), total);
    out.Int32(tags.size());
    for (const STInternalTag& tag : tags) {
        out.Int32(ItemSize<Form>(tag));
        Form::Write(out, tag.name);
        Form::Write(out, tag.value);
        out.Bytes(tag.data.data(), tag.data.size());
    }
    return true;
}

// Calls take(item) for each item, the last of which may be cut off.
template <class Form, class Take>
void ForEachItem(Bytes rest, Take take)
{
    if (rest.size() < kIntSize)
        return;
    const int32_t count = MemReadInt32(rest.data());
    rest = rest.subspan(kIntSize);
    for (int32_t i = 0; i < count && rest.size() >= kIntSize; ++i) {
        const int32_t size = MemReadInt32(rest.data());
        if (size < 0 || static_cast<size_t>(size) > rest.size())
            return;
        rest = rest.subspan(kIntSize);
        int64_t remaining = int64_t{size} - int64_t{kIntSize};
        RawItem item;
        item.name = Form::Take(rest, remaining);
        bool isWhole = remaining >= 1;
        if (isWhole) {
            item.value = Form::Take(rest, remaining);
            isWhole = remaining >= 0;
        }
        if (isWhole) {
            item.data = rest.first(std::min(static_cast<size_t>(remaining), rest.size()));
            rest = rest.subspan(item.data.size());
        }
        take(item);
        if (!isWhole)
            return;
    }
}

// Items may be many and small: a list that grew by itself would take three times as much.
template <class Form>
void Decode(Bytes blob, std::vector<STInternalTag>& tags)
{
    size_t count = 0;
    ForEachItem<Form>(blob, [&](const RawItem&) { ++count; });
    tags.reserve(count);
    ForEachItem<Form>(blob, [&](const RawItem& item) {
        tags.push_back(
            {Form::Text(item.name), Form::Text(item.value), {item.data.begin(), item.data.end()}});
    });
}

Bytes BlobView(const void* bytes, long size)
{
    if (bytes == nullptr || size < 1)
        return {};
    return {static_cast<const uint8_t*>(bytes), static_cast<size_t>(size)};
}

} // namespace

XStr NTag::AsInBlob(std::wstring_view text)
{
    XStr cut(text);
    for (wchar_t& c : cut)
        c = static_cast<wchar_t>(static_cast<uint32_t>(c) & 0xFFFF);
    return XStr(UpToZero(cut));
}

size_t NTag::GetRawTagItemSize(long position) const
{
    return ItemSize<Utf16Form>((*this)[position]);
}

size_t NTag::GetRawTagItemSizeUTF8(long position) const
{
    return ItemSize<Utf8Form>((*this)[position]);
}

bool NTag::ToRawMemory(XMem& blob) const
{
    return Encode<Utf16Form>(m_tags, blob);
}

bool NTag::ToRawMemoryUTF8(XMem& blob) const
{
    return Encode<Utf8Form>(m_tags, blob);
}

void NTag::InitFromRawMemory(const void* bytes, long size)
{
    Destroy();
    Decode<Utf16Form>(BlobView(bytes, size), m_tags);
}

void NTag::InitFromRawMemoryUTF8(const void* bytes, long size)
{
    Destroy();
    Decode<Utf8Form>(BlobView(bytes, size), m_tags);
}

} // namespace aiff
