// SPDX-License-Identifier: MIT
#include "host/author/tags/WavTags.h"

#include "host/author/tags/ChunkText.h"
#include "host/writers/TagContent.h"
#include "host/writers/TagNames.h"
#include "support/file/DiskFile.h"
#include "support/text/Ascii.h"

#include <algorithm>
#include <array>
#include <limits>
#include <span>
#include <string_view>

namespace aiff::host
{
namespace
{

constexpr uint32_t kInLargeSizes = std::numeric_limits<uint32_t>::max(); // of an RF64 file
constexpr size_t kHeaderSize = 8;
// No tag is larger.
constexpr uint64_t kMostChunkBytes = uint64_t{1} << 28;

// How a kind of file has its chunks: each an identifier, which begins with four letters, a size
// and so many bytes.
struct ChunkLayout {
    std::string_view form; // at the start of the file
    std::string_view name; // of the format
    size_t idSize;
    size_t sizeSize;
    uint64_t counted; // bytes before the data of a chunk that its size counts, too
    int64_t alignment;
    bool isBigEndian = false;

    size_t HeaderSize() const { return idSize + sizeSize; }
    // The form begins like a chunk, with an identifier of its own before the first one.
    int64_t First() const { return static_cast<int64_t>(HeaderSize() + idSize); }
};
constexpr ChunkLayout kLayouts[] = {{"RIFF", "WAV", 4, 4, 0, 2},
                                    {"RIFX", "WAV", 4, 4, 0, 2, true},
                                    {"RF64", "WAV", 4, 4, 0, 2},
                                    {"BW64", "WAV", 4, 4, 0, 2},
                                    {"riff", "Wave64", 16, 8, 24, 8}};

// Chunks that describe the sound, and what only fills the file.
constexpr std::string_view kNeededByWavOnly[] = {"fmt ", "data", "fact", "PEAK",
                                                 "ds64", "JUNK", "PAD ", "FLLR"};

// Chunks with markers, loops and broadcast data, beside LIST adtl.
constexpr std::string_view kMarks[] = {"cue ", "smpl", "inst", "bext", "iXML"};

std::string_view CodeAt(std::span<const uint8_t> bytes, size_t at)
{
    return {reinterpret_cast<const char*>(&bytes[at]), 4};
}

uint64_t NumberAt(std::span<const uint8_t> bytes, size_t at, size_t size, bool isBigEndian = false)
{
    uint64_t number = 0;
    for (size_t i = 0; i < size; ++i)
        number = number << 8 | bytes[at + (isBigEndian ? i : size - 1 - i)];
    return number;
}

// In quotation marks, but for chunks of Wave64 files that have no letters.
std::string ChunkName(std::string_view code)
{
    if (code == "\xBC\x94\x5F\x92")
        return "a summary list";
    if (code == "\x56\x62\xF7\xAB")
        return "markers";
    return "'" + std::string(code) + "'";
}

// An INFO list is a sequence of chunks itself, each with a text.
void ReadInfo(std::span<const uint8_t> left, bool isBigEndian, TagLib::PropertyMap& info)
{
    while (left.size() >= kHeaderSize) {
        const std::string_view code = CodeAt(left, 0);
        const uint64_t claim = NumberAt(left, 4, 4, isBigEndian);
        left = left.subspan(kHeaderSize);
        const size_t size = std::min<uint64_t>(claim, left.size());
        const std::string_view known = PropertyOfInfo(code);
        for (const std::string& text : ChunkTexts(left.first(size), OldText::Riff))
            info.insert(TagText(known.empty() ? code : known), TagText(text));
        const bool isPadded = size % 2 != 0 && size < left.size() && left[size] == 0;
        left = left.subspan(size + isPadded);
    }
}

class WavReader
{
public:
    explicit WavReader(const DiskFile& file) : m_file(file) {}

    WavTags Read();

private:
    bool ReadAt(int64_t position, std::span<uint8_t> bytes) const
    {
        return m_file.ReadAt(position, bytes) == bytes.size();
    }
    bool ReadChunk(const ChunkLayout& layout, int64_t& position);
    void TakeChunk(std::string_view code, bool isBigEndian, std::span<const uint8_t> data);

    const DiskFile& m_file;
    WavTags m_tags;
    uint64_t m_soundSize = kInLargeSizes; // of an RF64 file
};

void WavReader::TakeChunk(std::string_view code, bool isBigEndian, std::span<const uint8_t> data)
{
    constexpr std::string_view kInfo = "INFO";
    const bool isList = EqualNoCase(code, "LIST") && data.size() >= kInfo.size();
    const auto* const mark =
        std::ranges::find_if(kMarks, [code](std::string_view id) { return EqualNoCase(code, id); });
    if (EqualNoCase(code, "id3 ") && m_tags.id3v2.empty() && !data.empty())
        m_tags.id3v2.assign(data.begin(), data.end());
    else if (EqualNoCase(code, "id3 "))
        m_tags.others.insert("a second 'ID3 '");
    else if (isList && CodeAt(data, 0) == kInfo)
        ReadInfo(data.subspan(kInfo.size()), isBigEndian, m_tags.info);
    else if (isList && !isBigEndian && EqualNoCase(CodeAt(data, 0), "adtl"))
        m_tags.marks.push_back({"LIST", {data.begin(), data.end()}});
    else if (mark != std::end(kMarks) && !isBigEndian && !data.empty())
        m_tags.marks.push_back({std::string(*mark), {data.begin(), data.end()}});
    else if (isList)
        m_tags.others.insert("'LIST' of '" + std::string(CodeAt(data, 0)) + "'");
    else if (std::ranges::none_of(kNeededByWavOnly,
                                  [code](std::string_view id) { return EqualNoCase(code, id); }))
        m_tags.others.insert(ChunkName(code));
}

// Moves the position on. False at the end; what is cut off is told as damage.
bool WavReader::ReadChunk(const ChunkLayout& layout, int64_t& position)
{
    std::array<uint8_t, 24> bytes{};
    const auto header = std::span(bytes).first(layout.HeaderSize());
    if (!ReadAt(position, header))
        return false;
    position += std::ssize(header);
    const std::string_view code = CodeAt(header, 0);
    const bool isSound = EqualNoCase(code, "data");
    uint64_t size = NumberAt(header, layout.idSize, layout.sizeSize, layout.isBigEndian);
    if (isSound && size == kInLargeSizes)
        size = m_soundSize;
    if (size < layout.counted ||
        size - layout.counted > static_cast<uint64_t>(m_file.Size() - position))
        return false;
    size -= layout.counted;
    std::vector<uint8_t> data(isSound || size > kMostChunkBytes ? 0 : size);
    if (!ReadAt(position, data))
        return false;
    if (code == "ds64" && size >= 16)
        m_soundSize = NumberAt(data, 8, 8);
    TakeChunk(code, layout.isBigEndian, data);
    const int64_t end = position + static_cast<int64_t>(size);
    position = (end + layout.alignment - 1) / layout.alignment * layout.alignment;
    return true;
}

WavTags WavReader::Read()
{
    std::array<uint8_t, 40> form{};
    (void)!m_file.ReadAt(0, form);
    const auto* const layout = std::ranges::find(kLayouts, CodeAt(form, 0), &ChunkLayout::form);
    if (layout == std::end(kLayouts) || !EqualNoCase(CodeAt(form, layout->HeaderSize()), "WAVE"))
        return m_tags;
    m_tags.format = layout->name;
    for (int64_t position = layout->First(); ReadChunk(*layout, position);) {
    }
    return m_tags;
}

} // namespace

WavTags ReadWavTags(const std::string& path)
{
    std::error_code error;
    const auto file = DiskFile::Open(path, DiskFile::Access::Read, error);
    return file == nullptr ? WavTags() : WavReader(*file).Read();
}

} // namespace aiff::host
