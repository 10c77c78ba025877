// SPDX-License-Identifier: MIT
#include "host/author/ContainerSizes.h"

#include "host/author/tags/AiffForm.h"
#include "host/session/Reason.h"
#include "support/SaturatingMath.h"

#include <algorithm>
#include <array>
#include <limits>
#include <string_view>

namespace aiff::host
{
namespace
{

enum class Order { Little, Big };

// A format that is a sequence of chunks: each an identifier, a size and so many bytes, to
// which a size of the whole may be added in front.
struct ChunkFormat {
    std::string_view magic; // at the start of the file
    std::string_view sound; // how the identifier of the chunk with the sound begins
    Order order;
    int64_t idBytes;         // of an identifier
    int64_t sizeBytes;       // of a size
    int64_t counted;         // bytes before the data of a chunk that its size counts, too
    int64_t alignment;       // of a chunk's end
    int64_t first;           // position of the first chunk
    int64_t beforeSound = 0; // bytes of the sound chunk before the sound

    bool HasTotal() const { return first > idBytes + sizeBytes; }
};

constexpr ChunkFormat kFormats[] = {
    {"RIFF", "data", Order::Little, 4, 4, 0, 2, 12},
    {"RIFX", "data", Order::Big, 4, 4, 0, 2, 12},
    {"RF64", "data", Order::Little, 4, 4, 0, 2, 12},
    {"BW64", "data", Order::Little, 4, 4, 0, 2, 12},
    {"FORM", "BODY", Order::Big, 4, 4, 0, 2, 12},
    {"riff", "data", Order::Little, 16, 8, 24, 8, 40},
    {"caff", "data", Order::Big, 4, 8, 0, 1, 8, 4},
};

// No chunk is looked for after so many.
constexpr int kMostChunks = 100'000;

// A number of up to eight bytes; one that is too large becomes the largest.
int64_t NumberAt(const FileContent& file, int64_t position, int64_t bytes, Order order)
{
    std::array<uint8_t, 8> field{};
    const auto size = static_cast<size_t>(bytes);
    if (file.ReadAt(position, std::span(field).first(size)) != size)
        return 0;
    if (order == Order::Little)
        std::reverse(field.begin(), field.begin() + bytes);
    uint64_t value = 0;
    for (size_t i = 0; i < size; ++i)
        value = value << 8 | field[i];
    constexpr auto kLargest = static_cast<uint64_t>(std::numeric_limits<int64_t>::max());
    return static_cast<int64_t>(std::min(value, kLargest));
}

std::string TextAt(const FileContent& file, int64_t position, int64_t bytes)
{
    std::vector<uint8_t> text(static_cast<size_t>(bytes));
    text.resize(file.ReadAt(position, text));
    return {text.begin(), text.end()};
}

bool IsText(const std::string& id)
{
    return id.size() == 4 && IsTextCode(CodeAt(reinterpret_cast<const uint8_t*>(id.data())));
}

// Whether a size stands for one that was not known. Those that recorders and converters write
// then lie a little below 2 or 4 GiB, or are the largest.
bool IsUnknown(int64_t size, int64_t sizeBytes)
{
    constexpr int64_t kSlack = 0x10000;
    const auto isJustBelow = [size](int64_t limit) {
        return size <= limit && size > limit - kSlack;
    };
    if (sizeBytes > 4)
        return size <= 0 || isJustBelow(std::numeric_limits<int64_t>::max());
    return size == 0 || isJustBelow(int64_t{1} << 31) || isJustBelow(int64_t{1} << 32);
}

// The walk from chunk to chunk of one file.
class ChunkWalk
{
public:
    ChunkWalk(const FileContent& file, const ChunkFormat& format)
        : m_file(file), m_format(format), m_fileSize(file.Size())
    {
        if (format.HasTotal())
            m_total = NumberAt(file, format.idBytes, format.sizeBytes, format.order);
    }

    ContainerSizes Run()
    {
        int64_t position = m_format.first;
        for (int i = 0; i < kMostChunks && TakeChunk(position); ++i) {
        }
        if (!m_sizes.damage && !m_isEndless)
            CheckTotal();
        return m_sizes;
    }

private:
    // Looks at the chunk at a position, which moves on to the next one. False at the end.
    bool TakeChunk(int64_t& position)
    {
        const bool isAfterEnd = m_sizes.soundBytes >= 0 && IsTotalKnown() && position >= TotalEnd();
        const int64_t data = isAfterEnd ? -1 : FindHeader(position);
        if (data < 0)
            return false;
        const std::string id = TextAt(m_file, position, 4);
        int64_t claim =
            NumberAt(m_file, position + m_format.idBytes, m_format.sizeBytes, m_format.order);
        if (id == "ds64")
            TakeLargeSizes(data);
        if (id == "LIST" && m_format.sizeBytes == 4 && m_format.sound == "data")
            CheckList(data, claim);
        const bool isSound = id == m_format.sound;
        if (isSound && claim == std::numeric_limits<uint32_t>::max() && m_largeSound >= 0)
            claim = m_largeSound;
        m_isEndless = isSound && IsUnknown(claim, m_largeSound >= 0 ? 8 : m_format.sizeBytes);
        if (m_isEndless)
            return false;
        const int64_t size = std::max<int64_t>(claim - m_format.counted, 0);
        if (isSound)
            m_sizes.soundBytes = size - m_format.beforeSound;
        if (size > m_fileSize - data) {
            m_sizes.damage =
                isSound ? Problem(kSoundIsCut) : "is cut off within its chunk '" + id + "'";
            return false;
        }
        const int64_t end = data + size;
        position = (end + m_format.alignment - 1) / m_format.alignment * m_format.alignment;
        m_mayLackPad = position == end + 1;
        return true;
    }

    // Returns where the data of the chunk begins; -1 when there is none. Some programs forget
    // the byte that makes an odd size even.
    int64_t FindHeader(int64_t& position) const
    {
        if (m_mayLackPad && !IsText(TextAt(m_file, position, 4)) &&
            IsText(TextAt(m_file, position - 1, 4)))
            --position;
        const int64_t data = position + m_format.idBytes + m_format.sizeBytes;
        return data <= m_fileSize && IsText(TextAt(m_file, position, 4)) ? data : -1;
    }

    // libsndfile goes back for a part of a list of texts whose size has the highest bit, and finds
    // the same part again.
    void CheckList(int64_t data, int64_t size)
    {
        const int64_t end = std::min(AddSaturated(data, size), m_fileSize);
        int64_t part = data + 4;
        for (int i = 0; i < kMostChunks && part + 8 <= end; ++i) {
            const int64_t claim = NumberAt(m_file, part + 4, 4, m_format.order);
            if (claim > std::numeric_limits<int32_t>::max())
                break;
            part += 8 + claim + claim % 2;
        }
        if (part + 8 <= end)
            m_sizes.obstacle = "has a damaged list of texts (chunk 'LIST'), which cannot be read";
    }

    // RF64 files have their real sizes in a chunk in front.
    void TakeLargeSizes(int64_t data)
    {
        m_total = NumberAt(m_file, data, 8, m_format.order);
        m_largeSound = NumberAt(m_file, data + 8, 8, m_format.order);
    }

    bool IsTotalKnown() const
    {
        return m_format.HasTotal() &&
               !IsUnknown(m_total, m_largeSound >= 0 ? 8 : m_format.sizeBytes);
    }

    // Where the last chunk ends, as the file says; other programs' data may follow.
    int64_t TotalEnd() const { return AddSaturated(m_total, m_format.counted > 0 ? 0 : kHeader); }

    // What was cut off between two chunks shows only here. Programs that count a header or a
    // pad byte wrongly have lost nothing.
    void CheckTotal()
    {
        const int64_t missing = TotalEnd() - m_fileSize;
        if (IsTotalKnown() && missing > kHeader)
            m_sizes.damage =
                "is cut off: " + std::to_string(missing) + " bytes are missing at its end";
    }

    static constexpr int64_t kHeader = 8; // of a file: what its total does not count

    const FileContent& m_file;
    const ChunkFormat& m_format;
    const int64_t m_fileSize;
    ContainerSizes m_sizes;
    int64_t m_total = 0;       // of the whole file, as it says; 0 when it does not
    int64_t m_largeSound = -1; // of the sound, in an RF64 file
    bool m_isEndless = false;  // the sound has no known size and reaches to the end
    bool m_mayLackPad = false;
};

// An AU file has one header, and the rest is sound.
ContainerSizes ReadAuSizes(const FileContent& file, Order order)
{
    ContainerSizes sizes;
    const int64_t start = NumberAt(file, 4, 4, order);
    const int64_t claim = NumberAt(file, 8, 4, order);
    if (IsUnknown(claim, 4))
        return sizes;
    sizes.soundBytes = claim;
    if (claim > file.Size() - start)
        sizes.damage = kSoundIsCut;
    return sizes;
}

constexpr int64_t kVocBlockHeader = 4; // a type, and a size of three bytes

int64_t VocBlockType(const FileContent& file, int64_t position)
{
    return NumberAt(file, position, 1, Order::Little);
}

int64_t VocBlockEnd(const FileContent& file, int64_t position)
{
    return position + kVocBlockHeader + NumberAt(file, position + 1, 3, Order::Little);
}

// Goes from block to block of a VOC file. Returns how many bytes follow the one of type 0, which
// ends the file; -1 when there is none.
int64_t BytesAfterVocEnd(const FileContent& file, int64_t position)
{
    constexpr int64_t kLastType = 9;
    for (int i = 0; i < kMostChunks && position < file.Size(); ++i) {
        const int64_t type = VocBlockType(file, position);
        if (type == 0)
            return file.Size() - position - 1;
        if (type > kLastType)
            break;
        position = VocBlockEnd(file, position);
    }
    return -1;
}

// Whether the first block of sound, or one that loops it, is not the last block. libsndfile takes
// what follows for samples.
bool IsVocSoundDivided(const FileContent& file, int64_t position)
{
    constexpr int64_t kBeforeSound[] = {4, 5, 8}; // marker, text, extension of the format
    while (std::ranges::count(kBeforeSound, VocBlockType(file, position)) != 0)
        position = VocBlockEnd(file, position);
    return VocBlockType(file, position) != 0 &&
           VocBlockType(file, VocBlockEnd(file, position)) != 0;
}

// Some programs make a block of type 9 too small by a part of its header, so that it seems to end
// within the sound, where a zero may be that of a sample.
ContainerSizes ReadVocSizes(const FileContent& file)
{
    constexpr int64_t kHeaderSizeAt = 20;
    constexpr int64_t kNewSound = 9;
    constexpr int64_t kMissed = 8;
    ContainerSizes sizes;
    const int64_t start = NumberAt(file, kHeaderSizeAt, 2, Order::Little);
    const int64_t next = VocBlockEnd(file, start);
    const int64_t left = BytesAfterVocEnd(file, start);
    const bool isSmall =
        VocBlockType(file, start) == kNewSound && BytesAfterVocEnd(file, next + kMissed) >= 0;
    if (left != 0 && left <= kMissed && !isSmall)
        sizes.damage = kSoundIsCut;
    if (left == 0 && IsVocSoundDivided(file, start))
        sizes.obstacle = "has more blocks after its first sound, and only VOC files with one block "
                         "of sound, at their end, can be encoded";
    return sizes;
}

} // namespace

ContainerSizes ReadContainerSizes(const FileContent& file)
{
    const std::string magic = TextAt(file, 0, 4);
    for (const ChunkFormat& format : kFormats) {
        if (magic == format.magic)
            return ChunkWalk(file, format).Run();
    }
    if (magic == ".snd" || magic == "dns.")
        return ReadAuSizes(file, magic == ".snd" ? Order::Big : Order::Little);
    return magic == "Crea" ? ReadVocSizes(file) : ContainerSizes();
}

} // namespace aiff::host
