// SPDX-License-Identifier: MIT

// Builds ID3v2 tags from a notation, "TIT2:a|TXXX^k^v|PRIV[4000]=x": after ':' comes a
// Latin text, after each '^' a UTF-16 string (comments are in English), after '=' the body
// as it is; the brackets hold the flag bytes, and '~' is a zero byte.
#pragma once

#include "support/AiffBuilder.h"
#include "support/TagList.h"
#include "tags/TagItems.h"
#include "tags/TagUpdate.h"
#include "tags/id3parser/bytes/Errors.h"
#include "tags/id3parser/frames/Tag.h"

#include <span>
#include <string_view>

using namespace aiff;

using std::operator""s;

inline std::string S(std::span<const uint8_t> bytes)
{
    return {bytes.begin(), bytes.end()};
}

// A UTF-16 string as the writer makes it: mark, units, terminator.
inline std::string Utf16(std::u16string_view text)
{
    std::string bytes = "\xFF\xFE";
    for (const char16_t unit : text)
        bytes.append({static_cast<char>(unit & 0xFF), static_cast<char>(unit >> 8)});
    return bytes.append(2, '\0');
}

inline std::string SizeBytes(size_t size, int bitsPerByte, int count)
{
    std::string bytes;
    for (int i = count - 1; i >= 0; --i)
        bytes += static_cast<char>(size >> (i * bitsPerByte) & ((1u << bitsPerByte) - 1));
    return bytes;
}

struct NotedFrame {
    std::string id, flags, body;
};

inline NotedFrame FrameFrom(std::string note)
{
    std::ranges::replace(note, '~', '\0');
    const size_t mark = note.find_first_of(":^="), bracket = std::min(note.find('['), mark);
    NotedFrame frame = {note.substr(0, bracket), "\0\0"s, note.substr(mark + 1)};
    if (bracket < mark)
        frame.flags = SizeBytes(std::stoul(note.substr(bracket + 1, 4), nullptr, 16), 8, 2);
    if (note[mark] == ':')
        frame.body.insert(0, 1, '\0');
    if (note[mark] == '^') {
        const bool hasLanguage = frame.id == "COMM" || frame.id == "USLT";
        std::istringstream strings(std::exchange(frame.body, hasLanguage ? "\1eng" : "\1") + "^");
        for (std::string text; std::getline(strings, text, '^');)
            frame.body += Utf16(std::u16string(text.begin(), text.end()));
    }
    return frame;
}

// The bytes of frames.
inline std::string Frames(int version, const std::string& notes)
{
    std::string bytes;
    std::istringstream in(notes);
    for (std::string note; std::getline(in, note, '|');) {
        const auto [id, flags, body] = FrameFrom(note);
        bytes += id + SizeBytes(body.size(), version == 4 ? 7 : 8, version == 2 ? 3 : 4);
        bytes += (version == 2 ? "" : flags) + body;
    }
    return bytes;
}

// A tag with this content, or with a header that claims another size.
inline Bytes TagOf(int version, const std::string& content, uint8_t flags = 0,
                   std::optional<size_t> size = {})
{
    const char header[] = {'I', 'D', '3', static_cast<char>(version), 0, static_cast<char>(flags)};
    return Text(std::string(header, 6) + SizeBytes(size.value_or(content.size()), 7, 4) + content);
}

// A 0 for every 0xFF that is followed by one, by a byte from 0xE0 on, or by nothing.
inline std::string Unsynchronised(const std::string& bytes)
{
    std::string out;
    for (size_t i = 0; i < bytes.size(); ++i) {
        const int next = i + 1 < bytes.size() ? static_cast<uint8_t>(bytes[i + 1]) : 0;
        out.append(1, bytes[i]).append(bytes[i] == '\xFF' && (next == 0 || next >= 0xE0), '\0');
    }
    return out;
}

inline Bytes Tag(int version, const std::string& notes, uint8_t flags = 0)
{
    return TagOf(version, Frames(version, notes), flags);
}

inline id3parser::t_frame Frame(const std::string& note)
{
    const NotedFrame noted = FrameFrom(note);
    id3parser::t_frame frame(uint32_t{0});
    for (const char letter : noted.id)
        frame.id = frame.id << 8 | static_cast<uint8_t>(letter);
    frame.data.set_data_fromptr(noted.body.data(), noted.body.size());
    return frame;
}

// The notation of frames, with ':' for every body that starts with a zero.
inline std::string NotesOf(const id3parser::t_tag& tag)
{
    std::string notes;
    for (const id3parser::t_frame& frame : tag.Frames()) {
        const std::string body = S(frame.data.view());
        const bool isLatin = body.starts_with('\0');
        notes += notes.empty() ? "" : "|";
        notes += frame.id == 0 ? "0" : SizeBytes(frame.id, 8, 4);
        notes += (isLatin ? ":" : "=") + body.substr(isLatin ? 1 : 0);
    }
    return notes;
}

// "3 TIT2:a|...", or "throws" after what survived it.
inline std::string Parsed(const Bytes& bytes, id3parser::parseCallback&& callback = {})
{
    id3parser::t_tag tag;
    try {
        tag.Parse_MemBlock(bytes.data(), bytes.size(), callback);
        return std::to_string(tag.Revision()) + " " + NotesOf(tag);
    } catch (const id3parser::parseError&) {
        return NotesOf(tag) + (tag.Revision() == 0 ? "throws" : "throws, but has a revision");
    }
}

// A stream that cannot tell its length.
class Trickle : public id3parser::streamIn
{
public:
    explicit Trickle(std::span<const uint8_t> bytes) : m_in(bytes) {}
    size_t read(void* buffer, size_t size) override
    {
        largest = std::max(largest, size);
        return m_in.read(buffer, size);
    }
    size_t skip(size_t size) override { return m_in.skip(size); }

    size_t largest = 0; // of the reads

private:
    id3parser::streamInMem m_in;
};

// The items of a tag without its version.
inline XStr Read(const Bytes& tag)
{
    NTag list;
    return ReadTagList(tag, list) ? Content(list, 1) : L"damaged";
}

// The tag that an edit makes of old ones; empty when it fails.
inline Bytes Edited(const std::vector<std::span<const uint8_t>>& oldTags, const NTag& list,
                    const TagOptions& options, bool remove = false)
{
    const TagUpdate update(options, oldTags, list,
                           remove ? TagUpdate::Task::Remove : TagUpdate::Task::Set);
    Bytes tag;
    return update.Write(0, 0, 1, tag) ? tag : Bytes();
}

using Options = std::vector<const wchar_t*>;

inline Bytes Update(const std::vector<Bytes>& oldTags, const NTag& list,
                    const Options& keys = {L"ID3v2EncodeUni"}, bool remove = false)
{
    TagOptions options;
    for (const wchar_t* key : keys)
        options.SetOption(key);
    return Edited({oldTags.begin(), oldTags.end()}, list, options, remove);
}

// The frames of a written tag, as bytes.
inline std::string ContentOf(const Bytes& tag)
{
    return tag.size() < 10 ? "no tag" : S(std::span(tag).subspan(10));
}
