// The nine functions over a hostile file, in a hostile order. An input is a byte of
// flags for Open, a byte with the number of commands, the commands of nine bytes each
// (what to do, and a little-endian number), and then the file.

#include "Fuzz.h"
#include "qvcodec.h"

#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <type_traits>
#include <unistd.h>

#define AIFF_DECLARE(name, type) extern "C" std::remove_pointer_t<type> name;
QV_DECODER_FUNCTIONS(AIFF_DECLARE)

namespace
{

constexpr size_t kCommandSize = 9;
constexpr size_t kMostCommands = 16;
constexpr uint8_t kWithReport = 0x80;
enum Command { kDecode, kDecodeAll, kSeek, kRangeFrom, kRangeTo, kReopen, kClose, kCut, kGet };

// A file without a name that decoders open through its descriptor.
class HostileFile
{
public:
    HostileFile()
    {
#ifdef __linux__
        m_fd = memfd_create("aiff-fuzz", MFD_CLOEXEC); // many times faster than a disk
#else
        m_fd = fileno(std::tmpfile());
#endif
        Require(m_fd >= 0, "a temporary file can be had");
        m_name = L"/dev/fd/" + std::to_wstring(m_fd);
    }
    void Fill(const uint8_t* bytes, size_t size)
    {
        Resize(0);
        Require(pwrite(m_fd, bytes, size, 0) == static_cast<ssize_t>(size), "the file is written");
    }
    void Resize(size_t size)
    {
        Require(ftruncate(m_fd, static_cast<off_t>(size)) == 0, "resized");
    }
    const wchar_t* Name() const
    {
        return m_name.c_str();
    }

private:
    int m_fd;
    std::wstring m_name;
};

class Session
{
public:
    Session(const HostileFile& file, uint8_t flags) : m_file(file), m_flags(flags & 0x1F)
    {
        static const int sink = open("/dev/null", O_WRONLY | O_CLOEXEC);
        void* output =
            (flags & kWithReport) != 0 ? reinterpret_cast<void*>(intptr_t{sink}) : nullptr;
        const STNStdReport report = {output, output, output};
        m_handle = Create(&report);
        Require(m_handle != nullptr, "an instance can be had");
    }
    ~Session()
    {
        Require(Destroy(m_handle) == 1, "Destroy succeeds");
        TakeIndentationBack();
    }

    void OpenFile()
    {
        STQvOpenDecoder open = {};
        open.pFileName = m_file.Name();
        open.nFlags = m_flags;
        if (::Open(m_handle, &open) == 0)
            return;
        Touch(open.pTagData, open.nTagDataSize);
        Touch(open.pPropertiesData, open.nPropertiesDataSize);
        if ((m_flags & (QV_OPEN_PREPARE_DECODE | QV_OPEN_AUDIO_INFO)) != 0)
            Require(open.AudioInfo.WaveFormat.nBlockAlign > 0 && open.AudioInfo.nLengthBytes >= 0,
                    "the format makes sense");
    }

    // True when there may be more.
    bool Decode()
    {
        STQvAudioBlock block = {};
        if (DecodeBlock(m_handle, &block) == 0)
            return false;
        Touch(block.pData, block.nDataSize);
        Require(block.nDataSize <= 65536, "a block holds 64 KiB at most");
        Require(block.nLastBlock != 0 || block.nDataSize > 0, "only the last block is empty");
        if (block.nLastBlock == 0)
            Require(block.nDataSize % block.WaveFormat.nBlockAlign == 0, "frames are whole");
        return block.nLastBlock == 0;
    }

    void Do(int command, int64_t number, size_t fileSize)
    {
        STQvCodecGetSet record = {};
        size_t blocks = 0;
        switch (command) {
        case kDecodeAll:
            while (Decode())
                Require(++blocks <= fileSize, "the last block comes");
            break;
        case kSeek:
            SetPosition(m_handle, number);
            break;
        case kRangeFrom:
        case kRangeTo:
            record.nValue1 = command == kRangeFrom ? number : 0;
            record.nValue2 = command == kRangeTo ? number : -1;
            Require(Set(m_handle, QV_KEY_SET_DECODE_RANGE, &record) == 1, "a range is taken");
            break;
        case kReopen:
            OpenFile();
            break;
        case kClose:
            Require(Close(m_handle, nullptr) == 1, "Close succeeds");
            break;
        case kGet:
            record.nItemIndex = static_cast<uint32_t>(number);
            Get(m_handle, QV_KEY_STREAMING_DECODES, &record);
            break;
        default:
            Decode();
        }
    }

private:
    // Every failure has indented the trace of the whole process, which would fill up.
    static void TakeIndentationBack()
    {
        void* silent = Create(nullptr);
        STQvCodecGetSet record = {};
        for (int i = 0; i < 100; ++i)
            Get(silent, L"<-<-", &record);
        Destroy(silent);
    }

    // Reads what was handed out, for the sanitizers to see.
    static void Touch(const uint8_t* bytes, size_t size)
    {
        static volatile uint8_t sum;
        Require(bytes != nullptr || size == 0, "data is there");
        for (size_t i = 0; i < size; ++i)
            sum = static_cast<uint8_t>(sum + bytes[i]);
    }

    const HostileFile& m_file;
    uint32_t m_flags;
    void* m_handle;
};

Bytes Input(uint8_t flags, const std::vector<std::pair<Command, int64_t>>& commands,
            const Bytes& file)
{
    Bytes out = {flags, static_cast<uint8_t>(commands.size())};
    for (const auto& [command, number] : commands) {
        Bytes operand = Big(static_cast<uint64_t>(number), 8);
        std::reverse(operand.begin(), operand.end());
        Append(out, Join({{static_cast<uint8_t>(command)}, operand}));
    }
    return Append(out, file);
}

} // namespace

std::vector<Bytes> Seeds()
{
    constexpr uint8_t kAll = kWithReport + 1 + 4 + 8 + 16;
    const auto plain = AiffBuilder().Comm(2, 16, 44100).Ssnd(Noise(64)).Build();
    const auto little = AiffBuilder().Comm(1, 24, 8000, "sowt").Ssnd(Noise(30)).Build();
    const auto odd = AiffBuilder()
                         .Chunk("NAME", Text("odd"))
                         .Comm(3, 12, 0.5, "ulaw")
                         .Ssnd(Noise(7))
                         .Chunk("ID3 ", Text("ID3\3" + std::string(6, '\0')))
                         .Build();
    const auto large = AiffBuilder().Comm(2, 16, 44100).Ssnd(Noise(65538)).Build();
    return {
        Input(kAll, {{kDecodeAll, 0}, {kSeek, -3}, {kDecode, 0}, {kCut, 60}, {kDecode, 0}}, plain),
        Input(1, {{kRangeFrom, 2}, {kReopen, 0}, {kDecodeAll, 0}, {kGet, 3}}, little),
        Input(kAll, {{kClose, 0}, {kReopen, 0}, {kDecode, 0}}, odd),
        Input(1, {{kRangeTo, 1000000}, {kReopen, 0}, {kDecodeAll, 0}}, large)};
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size)
{
    static HostileFile file;
    if (size < 2)
        return 0;
    const size_t commands = std::min<size_t>(bytes[1], kMostCommands);
    if (size < 2 + commands * kCommandSize)
        return 0;
    const uint8_t* const command = bytes + 2;
    const size_t fileSize = size - 2 - commands * kCommandSize;
    file.Fill(command + commands * kCommandSize, fileSize);
    Session session(file, bytes[0]);
    session.OpenFile();
    for (size_t i = 0; i < commands; ++i) {
        int64_t number = 0;
        std::memcpy(&number, command + i * kCommandSize + 1, sizeof number);
        if (command[i * kCommandSize] == kCut)
            file.Resize(static_cast<uint64_t>(number) % (fileSize + 1));
        else
            session.Do(command[i * kCommandSize], number, fileSize);
    }
    return 0;
}
