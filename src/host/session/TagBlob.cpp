// SPDX-License-Identifier: MIT
#include "host/session/TagBlob.h"

#include "support/text/Utf8.h"
#include "support/text/XStr.h"

#include <algorithm>
#include <limits>

namespace aiff::host
{
namespace
{

// Reads little-endian fields one after the other.
class BlobReader
{
public:
    explicit BlobReader(std::span<const uint8_t> bytes) : m_left(bytes) {}

    std::span<const uint8_t> Left() const { return m_left; }

    [[nodiscard]] bool ReadInt32(int32_t& value)
    {
        if (m_left.size() < 4)
            return false;
        uint32_t bits = 0;
        for (size_t i = 4; i-- > 0;)
            bits = bits << 8 | m_left[i];
        value = static_cast<int32_t>(bits);
        m_left = m_left.subspan(4);
        return true;
    }

    [[nodiscard]] bool ReadBytes(size_t size, std::span<const uint8_t>& bytes)
    {
        if (size > m_left.size())
            return false;
        bytes = m_left.first(size);
        m_left = m_left.subspan(size);
        return true;
    }

    // A text of 16-bit units up to its zero; surrogate pairs become one character.
    [[nodiscard]] bool ReadText(std::string& text)
    {
        std::u16string units;
        while (m_left.size() >= 2) {
            const auto unit = static_cast<char16_t>(m_left[0] | m_left[1] << 8);
            m_left = m_left.subspan(2);
            if (unit == 0) {
                text = ToUtf8(units);
                return true;
            }
            units.push_back(unit);
        }
        return false;
    }

private:
    std::span<const uint8_t> m_left;
};

void AppendInt32(std::vector<uint8_t>& bytes, size_t value)
{
    for (int shift = 0; shift < 32; shift += 8)
        bytes.push_back(static_cast<uint8_t>(value >> shift));
}

void AppendUnit(std::vector<uint8_t>& bytes, uint32_t unit)
{
    bytes.push_back(static_cast<uint8_t>(unit));
    bytes.push_back(static_cast<uint8_t>(unit >> 8));
}

// A character beyond U+FFFF takes two units. Text that is not UTF-8 is a problem.
Problem AppendText(std::vector<uint8_t>& bytes, std::string_view text)
{
    while (!text.empty()) {
        uint32_t character = 0;
        if (!TakeUtf8(text, Utf8Policy::Strict, character))
            return "is not UTF-8";
        if (character > 0xFFFF) {
            character -= 0x10000;
            AppendUnit(bytes, 0xD800 | character >> 10);
            character = 0xDC00 | (character & 0x3FF);
        }
        AppendUnit(bytes, character);
    }
    AppendUnit(bytes, 0);
    return {};
}

Problem AppendItem(std::vector<uint8_t>& blob, const TagItem& item)
{
    std::vector<uint8_t> texts;
    for (const std::string& text : {item.name, item.value}) {
        if (Problem problem = AppendText(texts, text))
            return problem;
    }
    constexpr size_t kLimit = std::numeric_limits<int32_t>::max();
    const size_t size = sizeof(int32_t) + texts.size() + item.data.size();
    if (size > kLimit - blob.size())
        return "is too large for a tag";
    AppendInt32(blob, size);
    blob.insert(blob.end(), texts.begin(), texts.end());
    blob.insert(blob.end(), item.data.begin(), item.data.end());
    return {};
}

} // namespace

bool TagItem::IsPicture() const
{
    return name.starts_with(kPicturePrefix);
}

bool TagItem::IsInformation() const
{
    return EqualNoCase(name, QV_TAG_VERSION);
}

std::vector<std::string> TagItem::Values() const
{
    std::vector<std::string> values;
    std::string_view left = value;
    for (size_t end = left.find('\r'); end != std::string_view::npos; end = left.find('\r')) {
        values.emplace_back(left.substr(0, end));
        left.remove_prefix(end + 1);
    }
    values.emplace_back(left);
    return values;
}

std::string JoinedItem(const std::vector<std::string>& values)
{
    std::string item;
    for (size_t i = 0; i < values.size(); ++i)
        item += (i == 0 ? "" : "\r") + values[i];
    return item;
}

std::string TagItem::PictureDescription() const
{
    const size_t separator = name.find(kSubDescription);
    return separator == std::string::npos ? "" : name.substr(separator + kSubDescription.size());
}

std::string TagItem::PictureRole() const
{
    const size_t index = std::min(name.size(), kPicturePrefix.size());
    const size_t separator = name.find('_', index);
    if (separator == std::string::npos)
        return {};
    const std::string role = name.substr(separator + 1);
    return role.substr(0, role.find(kSubDescription));
}

std::vector<TagItem> ReadTagBlob(std::span<const uint8_t> blob)
{
    std::vector<TagItem> items;
    BlobReader reader(blob);
    int32_t count = 0;
    if (!reader.ReadInt32(count))
        return items;
    for (int32_t i = 0; i < count; ++i) {
        int32_t size = 0;
        std::span<const uint8_t> body;
        if (!reader.ReadInt32(size) || size < 4 ||
            !reader.ReadBytes(static_cast<size_t>(size) - 4, body))
            break;
        BlobReader fields(body);
        TagItem item;
        if (!fields.ReadText(item.name) || !fields.ReadText(item.value))
            break;
        item.data = fields.Left();
        items.push_back(std::move(item));
    }
    return items;
}

Result<std::vector<uint8_t>> MakeTagBlob(const std::vector<TagItem>& items)
{
    std::vector<uint8_t> blob;
    AppendInt32(blob, items.size());
    for (const TagItem& item : items) {
        if (Problem problem = AppendItem(blob, item))
            return Problem("\"" + item.name + "\" " + problem.Text());
    }
    return blob;
}

const TagItem* FindItem(const std::vector<TagItem>& items, std::string_view name)
{
    const auto found = std::find_if(items.begin(), items.end(), [name](const TagItem& item) {
        return EqualNoCase(item.name, name);
    });
    return found == items.end() ? nullptr : &*found;
}

std::string FindValue(const std::vector<TagItem>& items, std::string_view name)
{
    const auto found = std::find_if(items.begin(), items.end(),
                                    [name](const TagItem& item) { return item.name == name; });
    return found == items.end() ? std::string() : found->value;
}

const char* PictureType(std::span<const uint8_t> picture)
{
    struct Signature {
        std::string_view start;
        const char* type;
    };
    static constexpr Signature kSignatures[] = {
        {"\xFF\xD8\xFF", "image/jpeg"},
        {"\x89PNG\r\n\x1A\n", "image/png"},
        {"GIF8", "image/gif"},
        {"BM", "image/bmp"},
    };
    for (const Signature& signature : kSignatures) {
        const auto same = [](char a, uint8_t b) { return static_cast<uint8_t>(a) == b; };
        if (picture.size() >= signature.start.size() &&
            std::equal(signature.start.begin(), signature.start.end(), picture.begin(), same))
            return signature.type;
    }
    return "";
}

} // namespace aiff::host
