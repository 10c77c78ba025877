// SPDX-License-Identifier: MIT

// What aiffconv reads of files besides what the decoder shows: for `check`, for `encode`, for
// tags and markers in other formats. An input is a byte that chooses the reader, and a file. A
// clean one is strictly well-formed; the samples of an AIFF file are its bytes; what is made of
// tags and markers frames itself. The libraries that read other formats find the file in memory,
// too.

#include "Fuzz.h"
#include "InMemory.h"
#include "Sound.h"
#include "aiff/FourCC.h"
#include "host/author/OpenSource.h"
#include "host/author/SoundFile.h"
#include "host/author/check/FileCheck.h"
#include "host/author/marks/AiffMarks.h"
#include "host/author/marks/WavMarks.h"
#include "host/author/tags/ReadCarriedTags.h"
#include "host/author/tags/ReadFileTags.h"
#include "support/ChunkWalker.h"
#include "tags/TagBuilder.h"

using namespace aiff;
using namespace aiff::host;

namespace
{

size_t Little(const Bytes& bytes, size_t at)
{
    return Number(HostOrder(From(Front(bytes, at + 4), at), 32), 0);
}

// The chunks of a WAV file, which fill the bytes.
std::vector<RawChunk> Split(const Bytes& bytes)
{
    std::vector<RawChunk> chunks;
    size_t at = 0;
    while (at + 8 <= bytes.size() && Little(bytes, at + 4) <= bytes.size() - at - 8) {
        const WalkedChunk chunk = ChunkAt(bytes, at, Little(bytes, at + 4));
        chunks.push_back({chunk.code, chunk.data});
        at += 8 + chunk.data.size() + chunk.data.size() % 2;
    }
    Require(at == bytes.size(), "the chunks for WAV are whole");
    return chunks;
}

void CheckForm(const std::string& path, const Bytes& file)
{
    if (!CheckFile(path).IsClean())
        return;
    const size_t end = 8 + Number(file, 4);
    Require(end <= file.size(), "a clean form is there");
    WalkStrictly(Front(file, end)); // throws
}

void CheckSound(const std::string& path, const Bytes&)
{
    static_cast<void>(SoundFileDamage(path));
    static_cast<void>(ReadAiffSound(path));
}

void CheckEncoding(const std::string& path, const Bytes& file)
{
    const auto source = OpenSource(path);
    clPassAIFFChunks chunks;
    if (!source || (*source)->ListChunks(chunks))
        return;
    const bool isAiff = file[0] == 'F' || file[0] == 'f';
    for (int i = 0; i < chunks.Count() && !isAiff; ++i) {
        NTag list;
        const auto data = chunks[i].data.View();
        Require(chunks[i].code != FourCC(kChunkID3) || ReadTagList(data, list) ||
                    S(file).find(S(data)) != std::string::npos,
                "a tag can be read, or is that of the file");
    }
    Bytes samples;
    for (XMem block; (*source)->Read(block) && !block.Empty() && samples.size() < 100000;)
        samples.insert(samples.end(), block.View().begin(), block.View().end());
    const int64_t expected = (*source)->ExpectedBytes();
    Require(expected < 0 || std::ssize(samples) <= expected, "no more is read than was expected");
    static_cast<void>((*source)->Damage());
    if (!isAiff)
        return;
    const Sound sound(file, {});
    const auto start = static_cast<size_t>(sound.start);
    const auto offset = static_cast<size_t>(expected - (*source)->SampleBytes(expected));
    const size_t direct = std::min(offset, samples.size());
    Bytes bytes = From(Front(file, start + samples.size()), start);
    const int width = ((*source)->Format().nBitsPerSample + 7) / 8 * 8;
    if (sound.isLittle && width > 8)
        bytes = Join({Front(bytes, direct), HostOrder(From(bytes, direct), width)});
    Require(samples == bytes, "samples are bytes of the file");
}

void CheckShownTags(const std::string& path, const Bytes&)
{
    static_cast<void>(ReadFileTags(Input(path)));
}

void CheckCarriedTags(const std::string& path, const Bytes&)
{
    const CarriedTags tags = ReadCarriedTags(Input(path), {});
    Split(WavTagChunks(tags).bytes);
    const auto blocks = FlacTagBlocks(tags, Bytes(8));
    if (!blocks)
        return;
    size_t at = 0;
    for (bool isLast = false; !isLast; at += 4 + Number(blocks->bytes, at) % (1 << 24)) {
        Require(at + 4 <= blocks->bytes.size(), "the blocks for FLAC are whole");
        isLast = (blocks->bytes[at] & kLastBlock) != 0;
    }
    Require(at == blocks->bytes.size(), "the blocks for FLAC fill their place");
}

void CheckMarks(const std::string& path, const Bytes&)
{
    SoundMarks marks = ReadAiffMarks(path);
    const Bytes chunks = MakeWavMarks(marks, 44100);
    SoundMarks again = ReadWavMarks(Split(chunks));
    Require(MakeWavMarks(again, 44100) == chunks, "markers that were written are read");
}

// One at a time, so that many inputs are tried.
constexpr void (*kChecks[])(const std::string& path, const Bytes& file) = {
    CheckForm, CheckSound, CheckEncoding, CheckShownTags, CheckCarriedTags, CheckMarks};

Bytes WavChunk(const std::string& code, const Bytes& body)
{
    return Join({Text(code), HostOrder(Big(body.size(), 4), 32), body});
}

} // namespace

std::vector<Bytes> Seeds()
{
    const std::string notes = "TIT2:Old|TPE1^a^b|TYER:2004|TCON:(17)|COMM:engx\0y|TXXX:k\0v|"
                              "POPM=a\0\x40|APIC:image/png\0\3\0\x89PNG|GEOB:a/b\0f\0d\0g"s;
    const Bytes marker = Join({Big(1, 4), Big(9, 4), Text("\5start")});
    std::vector<Bytes> files;
    const Bytes marks = Join({Big(2, 2), Big(1, 2), From(marker, 4), Big(2, 2), From(marker, 4)});
    for (const std::string type : {"", "sowt", "fl32", "ulaw"})
        for (const int bits : {8, 12, 16, 24, 32}) {
            AiffBuilder file;
            file.Chunk("NAME", Text("odd")).Comm(2, bits, 44100, type).Ssnd(Noise(48));
            file.Chunk("MARK", marks).Chunk("COMT", Join({marker, Bytes(2)}));
            files.push_back(file.Chunk("INST", Bytes(20, 1)).Chunk("ID3 ", Tag(3, notes)));
        }
    for (const uint8_t bits : Bytes{8, 16, 24, 32}) {
        const uint8_t frame = bits / 8;
        const Bytes format = {1, 0, 1, 0, 64, 31, 0, 0, 0, 0, frame, 0, frame, 0, bits, 0};
        Bytes cue = WavChunk("cue ", Bytes(28));
        cue[8] = 1;
        files.push_back(WavChunk(
            "RIFF",
            Join({Text("WAVE"), WavChunk("fmt ", format), cue, WavChunk("data", Noise(24)),
                  WavChunk("LIST", Join({Text("INFO"), WavChunk("INAM", Text("Title\0"s))})),
                  WavChunk("id3 ", Tag(3, notes))})));
    }
    std::vector<Bytes> seeds;
    for (const Bytes& file : files)
        for (uint8_t check = 0; check < std::size(kChecks); ++check)
            seeds.push_back(Join({{check}, file}));
    return seeds;
}

size_t StructureAt(const Bytes&)
{
    return 1;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size)
{
    if (size < 1)
        return 0;
    const Bytes file(bytes + 1, bytes + size);
    const std::wstring path = InMemory::OnlyFile(file);
    kChecks[bytes[0] % std::size(kChecks)]({path.begin(), path.end()}, file);
    Require(InMemory::CountOpen() == 0, "what was opened is closed");
    return 0;
}
