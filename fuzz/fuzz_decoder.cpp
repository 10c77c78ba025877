// SPDX-License-Identifier: MIT

// The nine functions over a hostile file, in a hostile order. An input is a byte of
// flags for Open, a byte with the number of commands, the commands of nine bytes each
// (what to do, and a little-endian number), and then the file.

#include "Fuzz.h"
#include "qvcodec.h"

#include <cstring>
#include <fcntl.h>
#include <type_traits>
#include <unistd.h>
#include <utility>

#define AIFF_DECLARE(name, type) extern "C" std::remove_pointer_t<type> name;
QV_DECODER_FUNCTIONS(AIFF_DECLARE)

namespace
{

constexpr size_t kCommandSize = 9, kMostCommands = 16;
constexpr uint8_t kWithReport = 0x80;
enum Command { kDecode, kDecodeAll, kSeek, kRangeFrom, kRangeTo, kReopen, kClose, kCut, kGet };

// Reads what was handed out, for the sanitizers to see.
void Touch(const uint8_t* bytes, size_t size)
{
    static volatile uint8_t sum;
    Require(bytes != nullptr || size == 0, "data is there");
    for (size_t i = 0; i < size; ++i)
        sum = static_cast<uint8_t>(sum + bytes[i]);
}

// A file that exists only as this descriptor.
const int kFile = fileno(std::tmpfile());

void Resize(size_t size)
{
    Require(ftruncate(kFile, static_cast<off_t>(size)) == 0, "the file is resized");
}

void OpenFile(void* handle, uint32_t flags)
{
    static const std::wstring name = L"/dev/fd/" + std::to_wstring(kFile);
    STQvOpenDecoder open = {};
    open.pFileName = name.c_str();
    open.nFlags = flags;
    if (Open(handle, &open) == 0)
        return;
    Touch(open.pTagData, open.nTagDataSize);
    Touch(open.pPropertiesData, open.nPropertiesDataSize);
    if ((flags & (QV_OPEN_PREPARE_DECODE | QV_OPEN_AUDIO_INFO)) != 0)
        Require(open.AudioInfo.WaveFormat.nBlockAlign > 0 && open.AudioInfo.nLengthBytes >= 0,
                "the format makes sense");
}

// True when there may be more.
bool Decode(void* handle)
{
    STQvAudioBlock block = {};
    if (DecodeBlock(handle, &block) == 0)
        return false;
    Touch(block.pData, block.nDataSize);
    Require(block.nDataSize <= 65536, "a block holds 64 KiB at most");
    if (block.nLastBlock == 0)
        Require(block.nDataSize > 0 && block.nDataSize % block.WaveFormat.nBlockAlign == 0,
                "every block but the last has whole frames");
    return block.nLastBlock == 0;
}

void Perform(void* handle, uint8_t command, int64_t number, size_t fileSize, uint32_t flags)
{
    STQvCodecGetSet record = {};
    record.nItemIndex = static_cast<uint32_t>(number);
    record.nValue1 = command == kRangeTo ? 0 : number;
    record.nValue2 = command == kRangeTo ? number : QV_RANGE_TO_END;
    if (command == kSeek)
        SetPosition(handle, number);
    else if (command == kRangeFrom || command == kRangeTo)
        Require(Set(handle, QV_KEY_SET_DECODE_RANGE, &record) == 1, "a range is taken");
    else if (command == kReopen)
        OpenFile(handle, flags);
    else if (command == kClose)
        Require(Close(handle, nullptr) == 1, "Close succeeds");
    else if (command == kCut)
        Resize(static_cast<uint64_t>(number) % (fileSize + 1));
    else if (command == kGet)
        Get(handle, QV_KEY_STREAMING_DECODES, &record);
    else
        for (size_t blocks = 0; Decode(handle) && command == kDecodeAll; ++blocks)
            Require(blocks <= fileSize, "the last block comes");
}

Bytes Input(uint8_t flags, const std::vector<std::pair<Command, int64_t>>& commands,
            const AiffBuilder& file)
{
    Bytes out = {flags, static_cast<uint8_t>(commands.size())};
    for (const auto& [command, number] : commands) {
        Bytes operand = Big(static_cast<uint64_t>(number), 8);
        std::reverse(operand.begin(), operand.end());
        Append(out, Join({{static_cast<uint8_t>(command)}, operand}));
    }
    return Append(out, file.Build());
}

} // namespace

std::vector<Bytes> Seeds()
{
    constexpr uint8_t kAll = kWithReport + 1 + 4 + 8 + 16;
    AiffBuilder tagged;
    tagged.Chunk("NAME", Text("odd")).Comm(3, 12, 0.5, "ulaw").Ssnd(Noise(7));
    tagged.Chunk("ID3 ", Text("ID3\3" + std::string(6, '\0')));
    return {Input(kAll, {{kDecodeAll, 0}, {kSeek, -3}, {kDecode, 0}, {kCut, 60}, {kDecode, 0}},
                  AiffBuilder().Comm(2, 16, 44100).Ssnd(Noise(64))),
            Input(1, {{kRangeFrom, 2}, {kReopen, 0}, {kDecodeAll, 0}, {kGet, 3}},
                  AiffBuilder().Comm(1, 24, 8000, "sowt").Ssnd(Noise(30))),
            Input(kAll, {{kClose, 0}, {kReopen, 0}, {kDecode, 0}}, tagged),
            Input(1, {{kRangeTo, 1000000}, {kReopen, 0}, {kDecodeAll, 0}},
                  AiffBuilder().Comm(2, 16, 44100).Ssnd(Noise(65538)))};
}

size_t StructureAt(const Bytes& input)
{
    return input.size() < 2 ? 2 : 2 + std::min<size_t>(input[1], kMostCommands) * kCommandSize;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size)
{
    const size_t commands = size < 2 ? 0 : std::min<size_t>(bytes[1], kMostCommands);
    if (size < 2 + commands * kCommandSize)
        return 0;
    const uint8_t* const file = bytes + 2 + commands * kCommandSize;
    const auto fileSize = static_cast<size_t>(bytes + size - file);
    Resize(0);
    Require(pwrite(kFile, file, fileSize, 0) == ssize_t(fileSize), "the file is written");
    static const int sink = open("/dev/null", O_WRONLY | O_CLOEXEC);
    const bool reports = (bytes[0] & kWithReport) != 0;
    void* const output = reports ? reinterpret_cast<void*>(intptr_t{sink}) : nullptr;
    const STNStdReport report = {output, output, output};
    void* const handle = Create(&report);
    OpenFile(handle, bytes[0] & 0x1F);
    for (const uint8_t* command = bytes + 2; command != file; command += kCommandSize) {
        int64_t number = 0;
        std::memcpy(&number, command + 1, sizeof number);
        Perform(handle, command[0], number, fileSize, bytes[0] & 0x1F);
    }
    Require(Destroy(handle) == 1, "Destroy succeeds");

    // Every failure has indented the trace of the whole process, which would fill up.
    void* const silent = Create(nullptr);
    STQvCodecGetSet record = {};
    for (int i = 0; i < 100; ++i)
        Get(silent, L"<-<-", &record);
    Destroy(silent);
    return 0;
}
