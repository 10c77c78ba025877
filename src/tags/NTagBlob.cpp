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

    // Reads up to a zero unit, the end of the item or the end of the blob. Moves
    // `rest` and takes what it read off `remaining`, the bytes left of the item. An
    // item whose size does not even count itself has a negative rest: only the zero
    // unit ends its name.
    static XStr Read(std::span<const uint8_t>& rest, int64_t& remaining)
    {
        const auto left = static_cast<uint64_t>(remaining); // a negative rest is no limit
        const size_t most = std::min<uint64_t>(left, rest.size()) / 2;
        const auto unitAt = [&](size_t i) { return rest[2 * i] | rest[2 * i + 1] << 8; };
        size_t size = 0;
        while (size < most && unitAt(size) != 0)
            ++size;
        XStr text(size, L'\0');
        for (size_t i = 0; i < size; ++i)
            text[i] = static_cast<wchar_t>(unitAt(i));
        const size_t taken = 2 * (size + (size < most ? 1 : 0));
        rest = rest.subspan(taken);
        remaining -= static_cast<int64_t>(taken);
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

    // Reads up to a zero byte or the end of the blob.
    static XStr Read(std::span<const uint8_t>& rest, int64_t& remaining)
    {
        const auto length =
            static_cast<size_t>(std::find(rest.begin(), rest.end(), 0) - rest.begin());
        const std::string bytes(rest.begin(), rest.begin() + static_cast<ptrdiff_t>(length));
        remaining -= static_cast<int64_t>(length) + 1;
        rest = rest.subspan(std::min(length + 1, rest.size()));
        return FromUtf8(bytes);
    }
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
    BlobWriter out(blob.Data());
    out.Int32(tags.size());
    for (const STInternalTag& tag : tags) {
        out.Int32(ItemSize<Form>(tag));
        Form::Write(out, tag.name);
        Form::Write(out, tag.value);
        out.Bytes(tag.data.data(), tag.data.size());
    }
    return true;
}

template <class Form>
void Decode(std::span<const uint8_t> rest, std::vector<STInternalTag>& tags)
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
        STInternalTag& tag = tags.emplace_back();
        tag.name = Form::Read(rest, remaining);
        if (remaining < 1)
            return;
        tag.value = Form::Read(rest, remaining);
        if (remaining < 0)
            return;
        const size_t dataSize = std::min(static_cast<size_t>(remaining), rest.size());
        tag.data.assign(rest.begin(), rest.begin() + static_cast<ptrdiff_t>(dataSize));
        rest = rest.subspan(dataSize);
    }
}

std::span<const uint8_t> BlobView(const void* bytes, long size)
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
