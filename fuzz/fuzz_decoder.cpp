// SPDX-License-Identifier: MIT

// The nine functions over a hostile file or server, in a hostile order. An input is a byte of
// flags for Open, one that describes the server, one with the number of commands, the commands
// of nine bytes each (what to do, and a little-endian number), and then the file, which the
// server has, too. What a call gives, and whether it succeeds, is worked out anew: each block is
// what the file holds at its place, swapped here, for a stream as for a file.

#include "Fuzz.h"
#include "InMemory.h"
#include "Server.h"
#include "Sound.h"
#include "host/session/TagBlob.h"
#include "qvcodec.h"
#include "support/StdReport.h"

#include <array>
#include <cstring>
#include <fcntl.h>
#include <numeric>
#include <type_traits>
#include <utility>

#define AIFF_DECLARE(name, type) extern "C" std::remove_pointer_t<type> name;
QV_DECODER_FUNCTIONS(AIFF_DECLARE)

namespace
{

constexpr size_t kHead = 3, kCommandSize = 9, kMostCommands = 5;

// Bits of the first byte: the flags of Open; more sound follows; the network delivers little at a
// time.
constexpr uint8_t kFlags = 0x1F, kIsLong = 0x20, kTrickles = 0x40;
// Bits of the second byte besides those of Service.
constexpr uint8_t kExact = 0x40, kDurable = 0x80;

// Of a range, the low half of the number is the start and the other one the end.
enum Command : uint8_t {
    kDecode,
    kDecodeAll,
    kSeek,
    kRange,
    kOpenFile,
    kOpenStream,
    kClose,
    kCut,
    kGet,
    kSetTags,
    kDelete,
    kCommands
};

// Reads what was handed out, for the sanitizers to see.
void Touch(const uint8_t* bytes, size_t size)
{
    static Bytes copy;
    Require(bytes != nullptr || size == 0, "data is there");
    copy.assign(bytes, bytes + size);
}

// A stream as it has been read so far.
struct Connection {
    Wide position = 0, end = 0;
    bool isTorn = false, isBroken = false;

    // How many bytes a read of so many gets.
    Wide Take(Wide wanted)
    {
        const Wide count = std::min(wanted, end - position);
        position += count;
        isBroken = isBroken || (isTorn && count < wanted);
        return count;
    }
};

// A host that knows what it has to get.
class Host
{
public:
    // The file must outlive the host.
    Host(uint8_t flags, uint8_t service, bool reports, const Bytes& file)
        : m_flags(flags), m_service(service), m_reports(reports), m_server(service, file),
          m_path(InMemory::OnlyFile(file)), m_served(file)
    {
        InMemory::trickles = (flags & kTrickles) != 0;
        InMemory::server = m_server;
        Restart();
    }
    ~Host() { Require(Destroy(m_handle) == 1, "Destroy succeeds"); }

    void Perform(uint8_t command, int64_t number)
    {
        STQvCodecGetSet record = {};
        switch (command) {
        case kSeek:
            return Seek(number);
        case kRange:
            return SetRange(static_cast<int32_t>(number), number >> 32);
        case kOpenFile:
        case kOpenStream:
            return OpenInput(command == kOpenStream);
        case kClose:
            m_isKnown = false;
            return Require(Close(m_handle, nullptr) == 1, "Close succeeds");
        case kCut:
            InMemory::File() =
                Front(m_served, std::min<size_t>(static_cast<uint16_t>(number), m_served.size()));
            m_isTouched = true;
            return;
        case kGet:
            record.nItemIndex = static_cast<uint32_t>(number);
            return Require(Get(m_handle, QV_KEY_DECODES, &record) == (record.nItemIndex < 3),
                           "a list ends");
        case kSetTags:
            return SetTags(static_cast<uint64_t>(number));
        case kDelete:
            return Delete(static_cast<uint64_t>(number));
        default:
            for (size_t blocks = 0; Decode() && command == kDecodeAll; ++blocks)
                Require(blocks <= m_served.size(), "the last block comes");
        }
    }

private:
    void Restart()
    {
        static const auto sink =
            intptr_t{open((std::string(InMemory::kFolder) + "report").c_str(), O_CREAT, 0600)};
        void* const output = m_reports ? reinterpret_cast<void*>(sink) : nullptr;
        const STNStdReport report = {output, output, output};
        if (m_reports)
            EndIndentation(report);
        Destroy(m_handle);
        m_handle = Create(&report);
        Choose(QV_KEY_EXACT_STREAMS, (m_service & kExact) != 0);
        Choose(QV_KEY_DURABLE_EDITS, (m_service & kDurable) != 0);
        SetRange(0, -1);
        m_isTouched = m_isKnown = false;
        m_last = {Bytes(), Bytes()};
    }

    // Every failure has indented the trace of the whole process, which would fill up.
    static void EndIndentation(const STNStdReport& report)
    {
        do {
            for (int i = 0; i < 64; ++i)
                aiff::StdReport::WriteDEBUG(L"<-<-", STNStdReport{});
            aiff::StdReport::WriteDEBUG(L"", report);
        } while (InMemory::lastReport > 16);
    }

    void Choose(const wchar_t* key, int64_t first, int64_t second = 0)
    {
        STQvCodecGetSet record = {};
        record.nValue1 = first;
        record.nValue2 = second;
        Require(Set(m_handle, key, &record) == 1, "a choice is taken");
    }

    void SetRange(int64_t first, int64_t end)
    {
        Choose(QV_KEY_SET_DECODE_RANGE, first, end);
        m_rangeStart = first;
        m_rangeEnd = end;
    }

    void OpenInput(bool isStream)
    {
        if (m_isTouched) // an instance is for one file
            Restart();
        m_isStream = isStream;
        m_flagsUsed = m_flags & kFlags;
        STQvOpenDecoder open = {};
        open.pFileName = isStream ? L"HTTP://host:8/a/b" : m_path.c_str();
        open.nFlags = m_flagsUsed;
        InMemory::server = m_server; // raw answers come again from the first one
        const bool isOpen = Open(m_handle, &open) == 1;
        m_isKnown = false;
        if (isStream && (m_service & kRaw) != 0)
            return Touch(open.pTagData, open.nTagDataSize);
        Require(isOpen == ExpectOpen(), "an input is opened that can be read");
        if (!isOpen)
            return;
        Touch(open.pTagData, open.nTagDataSize);
        Touch(open.pPropertiesData, open.nPropertiesDataSize);
        m_format = open.AudioInfo.WaveFormat;
        if ((m_flagsUsed & (QV_OPEN_PREPARE_DECODE | QV_OPEN_AUDIO_INFO)) == 0)
            return;
        Require(m_format.nBlockAlign == m_sound.frame && m_format.nBitsPerSample == m_sound.bits,
                "the format is that of the file");
        Require(open.AudioInfo.nLengthBytes == std::max<Wide>(m_to - m_from, 0),
                "the length is that of the range");
        Require(open.AudioInfo.nLengthMS == Milliseconds(open.AudioInfo.nLengthBytes),
                "the length is that of the bytes");
        m_isKnown = (m_flagsUsed & QV_OPEN_PREPARE_DECODE) != 0;
    }

    Wide Milliseconds(Wide bytes) const
    {
        return m_sound.isEndless ? 0 : bytes * 1000 / m_format.nAvgBytesPerSec;
    }

    // Works out what is opened, and whether it is.
    bool ExpectOpen()
    {
        if ((m_flagsUsed & QV_OPEN_EXTERNAL_PACKETS) != 0)
            return false;
        Delivery by = {m_isStream, (m_service & kExact) != 0, false, -1};
        if (m_isStream)
            Connect(0);
        if (m_isStream && m_server.TellsLength())
            by.size = std::ssize(m_served);
        by.isSeekable = m_isSeekable = by.size > 0 && (m_service & kRanges) != 0;
        const Sound::Input served(m_served);
        m_sound = Sound(m_isStream ? served.first(size_t(m_connection.end)) : InMemory::File(), by);
        if (m_isStream)
            m_last[1] = Bytes();
        m_from = m_sound.Within(m_rangeStart * m_sound.frame);
        m_to = m_sound.Within(m_rangeEnd == -1 ? m_sound.Aligned(m_sound.end - m_sound.start)
                                               : m_rangeEnd * m_sound.frame);
        m_position = m_from;
        m_left = std::max<Wide>(m_to - m_from, 0);
        ForgetAhead();
        if (!m_isStream && !m_sound.isForm)
            return InMemory::File().empty() && (m_flagsUsed & 5) == 0;
        if ((m_flagsUsed & 5) == 0)
            return true;
        if (!m_sound.isFound || (m_flagsUsed & QV_OPEN_PREPARE_DECODE) == 0)
            return m_sound.isFound;
        m_connection.position = m_sound.headEnd;
        return m_sound.isPcm && (!m_isStream || m_left == 0 || Advance());
    }

    // From the sound chunk's header to the first byte to decode.
    bool Advance()
    {
        const Wide gap = m_from - m_connection.position;
        if (gap > 65536 && m_isSeekable && SeekStream(m_from))
            return true;
        return m_connection.Take(gap) == gap;
    }

    void Connect(Wide first)
    {
        const size_t size = m_served.size() - static_cast<size_t>(first);
        m_connection = {first, first + Wide(m_server.Sent(size)), m_server.IsTorn(size), false};
    }

    bool SeekStream(Wide position)
    {
        if (position > std::ssize(m_served))
            return false;
        if (position == std::ssize(m_served))
            m_connection = {position, position, false, false};
        else if (position != m_connection.position || m_connection.isBroken)
            Connect(position);
        return true;
    }

    void Seek(int64_t frame)
    {
        const bool isDone = SetPosition(m_handle, frame) == 1;
        if (!m_isKnown)
            return;
        Wide target = std::min(m_from + Wide{frame} * m_sound.frame, m_to);
        if (m_isStream)
            target = std::max(target, m_sound.start);
        const bool isPossible = m_isStream ? m_isSeekable && SeekStream(target) : target >= 0;
        Require(isDone == isPossible, "a place within the input is reached");
        if (isDone) {
            m_position = target;
            m_left = m_to - target;
            ForgetAhead();
        }
    }

    // True when there may be more.
    bool Decode()
    {
        STQvAudioBlock block = {};
        const bool isDone = DecodeBlock(m_handle, &block) == 1;
        if (isDone)
            Touch(block.pData, block.nDataSize);
        Require(!isDone || block.nDataSize <= 65536, "a block holds 64 KiB at most");
        if (!m_isKnown)
            return isDone && block.nLastBlock == 0;
        const Wide start = m_position;
        Require(isDone == ExpectBlock(), "what can be read is decoded");
        if (!isDone)
            return false;
        Require(block.nLastBlock == (m_left == 0), "the last block is marked");
        Require(block.nPositionMS == Milliseconds(start - m_from), "a block tells its place");
        Require(block.nDurationMS == Wide{block.nDataSize} * 1000 / m_format.nAvgBytesPerSec,
                "a block tells its length");
        const std::optional<Bytes>& expected =
            m_isEmpty ? std::optional(Bytes()) : m_last[m_isStream];
        Require(!expected || (block.nDataSize == expected->size() &&
                              std::equal(expected->begin(), expected->end(), block.pData)),
                "a block is what the file holds");
        return block.nLastBlock == 0;
    }

    // Works out the next block, and whether there is one.
    bool ExpectBlock()
    {
        std::optional<Bytes>& last = m_last[m_isStream];
        m_isEmpty = m_left == 0;
        if (m_isEmpty)
            return true;
        if (m_left < m_sound.frame) { // the block before comes once more
            m_left = 0;
            if (last)
                last = m_sound.Swapped(*last);
            return true;
        }
        const Wide wanted = std::min(m_sound.Aligned(65536), m_left);
        const Wide count = m_isStream ? CountOfStream(wanted) : CountOfFile(wanted);
        last.reset(); // what a failed read leaves is not said
        if (count == 0 && m_left != 0)
            return false;
        const auto at = static_cast<size_t>(m_isStream ? m_position : m_position - m_aheadStart);
        last =
            m_sound.Swapped(From(Front(m_isStream ? m_served : m_ahead, at + size_t(count)), at));
        m_position += count;
        m_left -= count;
        return true;
    }

    void ForgetAhead()
    {
        m_ahead.clear();
        m_aheadStart = 0;
        m_isSequence = false;
    }

    // Four blocks are read at one go, except after a seek.
    Wide CountOfFile(Wide wanted)
    {
        if (m_aheadStart + std::ssize(m_ahead) < m_position + wanted) {
            const Wide most = m_isSequence ? std::min(4 * wanted, m_left) : wanted;
            const Bytes& file = InMemory::File();
            const Wide size = std::ssize(file);
            m_ahead = From(Front(file, size_t(std::min(m_position + most, size))),
                           size_t(std::min(m_position, size)));
            m_aheadStart = m_position;
            if (std::ssize(m_ahead) < wanted)
                return 0;
            m_isSequence = true;
        }
        return wanted;
    }

    Wide CountOfStream(Wide wanted)
    {
        const Wide count = m_connection.Take(wanted), whole = m_sound.Aligned(count);
        if (count == wanted || (m_service & kExact) == 0)
            return count == wanted ? count : 0;
        if (m_sound.isEndless && !m_connection.isBroken)
            m_left = whole;
        return whole;
    }

    void SetTags(uint64_t number)
    {
        using Items = std::vector<aiff::host::TagItem>;
        const Bytes before = InMemory::File(), picture = Noise(99);
        const Items lists[] = {{{"Title", "New", {}}}, {{"_albumart_1_Media", "", picture}}};
        const Bytes blob = number % 4 < 2 ? *aiff::host::MakeTagBlob(lists[number % 4])
                                          : From(before, number / 4 % (before.size() + 1));
        STQvCodecGetSet record = {};
        record.pText1 = m_path.c_str();
        record.pData = blob.data();
        record.nDataSize = static_cast<int32_t>(blob.size());
        const bool isDone = Set(m_handle, QV_KEY_ID_TAGS, &record) == 1;
        CheckEdit(before, isDone, number % 4 == 0 ? "New" : nullptr);
    }

    void Delete(uint64_t number)
    {
        const wchar_t* const names = number % 2 == 0 ? nullptr : L"Artist\0Title\0";
        const Bytes before = InMemory::File();
        CheckEdit(before, DeleteATag(m_handle, m_path.c_str(), names) == 1, "");
    }

    // A title of null may be any.
    void CheckEdit(const Bytes& before, bool isDone, const char* title)
    {
        if (InMemory::File() == before)
            return;
        Require(isDone, "a refused edit leaves the file alone");
        m_isTouched = true;
        m_isKnown = m_isKnown && m_isStream;
        STQvOpenDecoder other = {};
        other.pFileName = m_path.c_str();
        other.nFlags = QV_OPEN_READ_TAGS;
        void* const handle = Create(nullptr);
        Require(Open(handle, &other) == 1, "an edited file can be opened");
        const auto items = aiff::host::ReadTagBlob({other.pTagData, other.nTagDataSize});
        // Without COMM and SSND no tags are shown.
        Require(title == nullptr || other.pTagData == nullptr || FindValue(items, "Title") == title,
                "what was set is shown, and what was deleted is gone");
        Destroy(handle);
    }

    uint8_t m_flags, m_service, m_reports;
    Server m_server;
    std::wstring m_path;
    const Bytes& m_served; // what the server has
    void* m_handle = nullptr;
    bool m_isTouched = false; // the file, since the instance was made

    // The input that is open.
    bool m_isKnown = false; // what comes next
    bool m_isStream = false, m_isSeekable = false, m_isEmpty = false;
    uint32_t m_flagsUsed = 0;
    STQvWaveFormat m_format = {};
    Sound m_sound;
    Connection m_connection;
    // The range in frames and in bytes, and where the next block is.
    Wide m_rangeStart = 0, m_rangeEnd = -1, m_from = 0, m_to = 0, m_position = 0, m_left = 0;
    Bytes m_ahead; // of the file, what has been read at one go from a place on
    Wide m_aheadStart = 0;
    bool m_isSequence = false;
    std::array<std::optional<Bytes>, 2> m_last; // block of the file and of the stream
};

using Commands = std::vector<std::pair<Command, int64_t>>;

// The part of an input before the file.
Bytes Start(int flags, size_t service, const Commands& commands)
{
    Bytes start = {static_cast<uint8_t>(flags), static_cast<uint8_t>(service),
                   static_cast<uint8_t>(commands.size())};
    for (const auto& [command, number] : commands) {
        Bytes operand = Big(static_cast<uint64_t>(number), 8);
        std::reverse(operand.begin(), operand.end());
        Append(start, Join({{command}, operand}));
    }
    return start;
}

} // namespace

std::vector<Bytes> Seeds()
{
    const Commands orders[] = {
        {{kOpenFile, 0}, {kDecodeAll, 0}, {kSeek, 1}, {kDecode, 0}, {kSeek, -3}},
        {{kOpenStream, 0}, {kDecodeAll, 0}, {kSeek, 1}, {kDecode, 0}, {kOpenFile, 0}},
        {{kRange, 2 - (1LL << 32)},
         {kOpenFile, 0},
         {kDecodeAll, 0},
         {kOpenStream, 0},
         {kDecodeAll, 0}},
        {{kRange, (3LL << 32) + 1}, {kOpenStream, 0}, {kDecode, 0}, {kSeek, 1}, {kGet, 3}},
        {{kSetTags, 0}, {kOpenFile, 0}, {kDecodeAll, 0}, {kDelete, 1}, {kDelete, 0}},
        {{kRange, 1LL << 60}, {kOpenFile, 0}, {kDecodeAll, 0}, {kOpenStream, 0}, {kDecodeAll, 0}},
        {{kSetTags, 1}, {kSetTags, 222}, {kOpenFile, 0}, {kDecode, 0}},
        {{kOpenFile, 0}, {kCut, 60}, {kDecode, 0}, {kCut, -1}, {kDecode, 0}},
        {{kOpenFile, 0}, {kSeek, -999}, {kDecode, 0}, {kClose, 0}}};
    std::vector<Bytes> files; // of more than a vector, and a rest
    for (const char* type : {"", "sowt", "NONE", "ulaw"})
        for (const int bits : {8, 12, 16, 24, 32}) {
            const int channels = std::array{1, 2, 6}[files.size() % 3];
            files.push_back(
                AiffBuilder().Comm(channels, bits, 44100, type).Ssnd(Noise(219)).Build());
        }
    files.push_back(AiffBuilder()
                        .Chunk("NAME", Text("odd"))
                        .Ssnd(Noise(5))
                        .Comm(1, 16, 0.5)
                        .Ssnd(Noise(7))
                        .Chunk("ID3 ", Text("ID3\3" + std::string(6, '\0'))));
    files.push_back(AiffBuilder().Comm(1, 16, 9).Ssnd({}, 0).FormSize(0x80000000u));
    for (const uint32_t size : {70000u, 65543u}) // the other block is less than a frame
        files.push_back(AiffBuilder().Comm(2, 24, 8000).Ssnd(Noise(30), size).FormSize(size + 38));
    std::vector<Bytes> seeds;
    for (const Bytes& file : files)
        for (const Commands& order : orders) {
            const size_t number = seeds.size(); // most are without texts, which take their time
            const int flags = number % 4 == 0 ? 1 + 4 + 8 + 16 : 1;
            const int more = &file >= &files.back() - 1 ? kIsLong : number % 7 == 0 ? kTrickles : 0;
            const size_t service = number * 11 % 256 & (0xFFu - kRaw);
            seeds.push_back(Join({Start(flags | more, service, order), file}));
        }
    const Commands beyondBlock = {// from an odd place, for which a stream is asked anew
                                  {kRange, 66001 - (1LL << 32)},
                                  {kOpenStream, 0},
                                  {kDecodeAll, 0},
                                  {kSeek, 3},
                                  {kDecode, 0}};
    seeds.push_back(Join({Start(1 + kIsLong, kRanges, beyondBlock),
                          AiffBuilder().Comm(1, 8, 8000).Ssnd({}, 70000).FormSize(70046)}));
    const std::string answers[] = {
        "HTTP/1.1 302 Found\r\nLocation: //b/c\r\n\r\n",
        "HTTP/1.1 200 OK\r\nAccept-Ranges: bytes\r\nContent-Length: 112\r\n\r\n",
        "HTTP/1.1 206 P\r\nContent-Range: bytes 58-111/112\r\n\r\n"};
    const Bytes next(kNextAnswer.begin(), kNextAnswer.end());
    seeds.push_back(Join({Start(1, kRaw, orders[1]), Text(answers[0]), next, Text(answers[1]),
                          files[2], next, Text(answers[2]), From(files[2], 58)}));
    return seeds;
}

size_t StructureAt(const Bytes& input)
{
    return input.size() < kHead ? kHead : kHead + input[2] % (kMostCommands + 1) * kCommandSize;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size)
{
    const Bytes input(bytes, bytes + size);
    const size_t start = StructureAt(input);
    if (start > size)
        return 0;
    Bytes file = From(input, start);
    static const Bytes more = Noise(70000);
    if ((bytes[0] & kIsLong) != 0)
        file.insert(file.end(), more.begin(), more.end());
    const bool reports =
        std::accumulate(bytes, bytes + size, 0u) % 256 == 0; // takes ten times as long
    Host host(bytes[0], bytes[1], reports, file);
    for (size_t at = kHead; at < start; at += kCommandSize) {
        int64_t number = 0;
        std::memcpy(&number, bytes + at + 1, sizeof number);
        host.Perform(bytes[at] % kCommands, number);
    }
    return 0;
}
