// SPDX-License-Identifier: MIT
#include "host/author/tags/ReadCarriedTags.h"

#include "aiff/AIFFHandler.h"
#include "host/author/tags/AiffForm.h"
#include "host/author/tags/ChunkText.h"
#include "host/author/tags/ReadId3.h"
#include "host/author/tags/TagCheck.h"
#include "host/author/tags/UpdateTag.h"
#include "support/file/DiskFile.h"
#include "tags/TagFields.h"
#include "tags/id3parser/text/CodePages.h"

#include <algorithm>
#include <set>

namespace aiff::host
{
namespace
{

// The largest chunk that is carried. Larger tags fit no output.
constexpr int64_t kMostChunkBytes = int64_t{1} << 28;

struct TextChunk {
    const char* code;
    const char* property;
};
constexpr TextChunk kTextChunks[] = {
    {"NAME", "TITLE"}, {"AUTH", "ARTIST"}, {"(c) ", "COPYRIGHT"}, {"ANNO", "COMMENT"}};

// The form itself and what only fills it.
constexpr const char* kNeededByAiffOnly[] = {"FVER", "FLLR", "PAD ", "JUNK"};

// What is carried as markers, loops and broadcast data.
constexpr const char* kMarks[] = {"MARK", "INST", "COMT", "bext", "iXML"};

class ChunkReader
{
public:
    ChunkReader(const clAIFFHandler& aiff, CarriedTags& tags) : m_aiff(aiff), m_tags(tags) {}

    void ReadAll();

private:
    void ReadTag(const STRIFFChunk& chunk);
    void ReadOther(const STRIFFChunk& chunk);
    bool ReadData(const STRIFFChunk& chunk, std::vector<uint8_t>& data) const;

    const clAIFFHandler& m_aiff;
    CarriedTags& m_tags;
    int m_tagChunks = 0;
    bool m_isReadable = false; // the tag
    TagLib::PropertyMap m_texts;
    std::set<std::string> m_leftOut;
};

bool ChunkReader::ReadData(const STRIFFChunk& chunk, std::vector<uint8_t>& data) const
{
    if (chunk.nSize > kMostChunkBytes)
        return false;
    data.resize(static_cast<size_t>(chunk.nSize));
    return m_aiff.ReadAt(chunk.FileDataPosition, data) == data.size();
}

// Decoders show the first tag that they can read.
void ChunkReader::ReadTag(const STRIFFChunk& chunk)
{
    if (chunk.nSize == 0)
        return;
    ++m_tagChunks;
    NTag list;
    std::vector<uint8_t> tag;
    const bool isReadable =
        !ReadChunkTag(m_aiff, chunk.FileDataPosition, chunk.nSize, {}, tag, list);
    if (!m_tags.id3v2.empty() && (m_isReadable || !isReadable))
        return;
    if (!isReadable && !ReadData(chunk, tag)) {
        m_leftOut.insert(CodeText(chunk.ID));
        return;
    }
    m_tags.id3v2 = std::move(tag);
    m_isReadable = isReadable;
}

void ChunkReader::ReadOther(const STRIFFChunk& chunk)
{
    const auto is = [&chunk](const char* code) {
        return clAIFFHandler::CompareID(chunk.ID, code, false);
    };
    const auto* const found = std::ranges::find_if(kTextChunks, is, &TextChunk::code);
    std::vector<uint8_t> data;
    if (found != std::end(kTextChunks) && ReadData(chunk, data)) {
        for (const std::string& text : ChunkTexts(data, OldText::Aiff))
            m_texts.insert(found->property, TagText(text));
    } else if (IsTextCode(chunk.ID) && std::ranges::none_of(kNeededByAiffOnly, is) &&
               std::ranges::none_of(kMarks, is)) {
        m_leftOut.insert(CodeText(chunk.ID));
    }
}

void ChunkReader::ReadAll()
{
    for (int i = 0; i < m_aiff.Count(); ++i) {
        const STRIFFChunk& chunk = *m_aiff.GetChunk(i);
        if (clAIFFHandler::CompareID(chunk.ID, kChunkID3, true))
            ReadTag(chunk);
        else if (!IsCommonOrSound(chunk.ID))
            ReadOther(chunk);
    }
    if (m_tagChunks > 1)
        m_tags.notes.push_back("has " + std::to_string(m_tagChunks) +
                               " ID3v2 tags; only the first that can be read is carried over");
    if (!m_leftOut.empty())
        m_tags.notes.push_back("left out: chunks that only AIFF files hold (" +
                               Enumerated(m_leftOut) + ")");
    m_tags.content = ReadId3(m_tags.id3v2);
    const TagLib::StringList different = m_tags.content.AddMissing(m_texts);
    if (!different.isEmpty())
        m_tags.notes.push_back("left out: " + Utf8Of(different.toString(", ")) +
                               " outside its ID3v2 tag, which says something else");
}

void MakeTag(const std::vector<TagItem>& items, CarriedTags& tags)
{
    NTag list;
    for (const TagItem& item : items) {
        const XStr name = id3parser::conv::Utf8ToText(item.name);
        if (item.IsPicture())
            list.AddTag(name, item.data.data(), item.data.size());
        else if (!item.IsInformation())
            list.AddTag(name, id3parser::conv::Utf8ToText(item.value));
    }
    if (list.Count() != 0 && !UpdateTag({}, list, tags.id3v2))
        tags.notes.emplace_back("has tags that are too large to be carried over");
    tags.content = ReadId3(tags.id3v2);
}

} // namespace

CarriedTags ReadCarriedTags(const Input& input, const std::vector<TagItem>& shown)
{
    CarriedTags tags;
    std::error_code error;
    clAIFFHandler aiff;
    if (!input.IsStream() &&
        aiff.Initialize(DiskFile::Open(input.Path(), DiskFile::Access::Read, error), {}))
        ChunkReader(aiff, tags).ReadAll();
    else
        MakeTag(shown, tags);
    return tags;
}

} // namespace aiff::host
