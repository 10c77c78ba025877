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
#include "host/author/tags/WavTags.h"
#include "host/writers/TagNames.h"
#include "support/ChunkWalker.h"
#include "support/text/Ascii.h"
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

// Of a WAV file with sizes of 32 bits.
Bytes FirstTag(const Bytes& file)
{
    for (size_t at = 12; at + 8 <= file.size();) {
        const size_t size = Little(file, at + 4);
        const std::string code = S(Front(From(file, at), 4));
        if (size > file.size() - at - 8 || (size != 0 && EqualNoCase(code, "id3 ")))
            return size > file.size() - at - 8 ? Bytes() : ChunkAt(file, at, size).data;
        at += 8 + size + size % 2;
    }
    return {};
}

void CheckShownTags(const std::string& path, const Bytes& file)
{
    static_cast<void>(ReadFileTags(Input(path)));
    const WavTags wav = ReadWavTags(path);
    if (S(file).starts_with("RIFF") && !wav.format.empty() &&
        S(file).find("ds64") == std::string::npos)
        Require(wav.id3v2 == FirstTag(file), "the first tag of a WAV file is read");
}

// The bodies of the blocks of a FLAC file, which fill the bytes.
std::vector<Bytes> FlacBlocks(const Bytes& bytes)
{
    std::vector<Bytes> blocks;
    size_t at = 0;
    for (bool isLast = false; !isLast; at += 4 + blocks.back().size()) {
        Require(at + 4 <= bytes.size(), "the blocks for FLAC are whole");
        const size_t end = at + 4 + Number(bytes, at) % (1 << 24);
        Require(end <= bytes.size(), "the blocks for FLAC fill their place");
        isLast = (bytes[at] & kLastBlock) != 0;
        blocks.push_back(From(Front(bytes, end), at + 4));
    }
    Require(at == bytes.size(), "the blocks for FLAC fill their place");
    return blocks;
}

// The texts of a Vorbis comment without a vendor.
std::vector<std::string_view> Comments(const Bytes& block)
{
    std::vector<std::string_view> texts;
    for (size_t at = 8; at < block.size();) {
        const size_t size = block[at] + block[at + 1] * 256u + block[at + 2] * 65536u;
        Require(block[at + 3] == 0 && size <= block.size() - at - 4, "comments fill their place");
        const std::string_view text(reinterpret_cast<const char*>(&block[at + 4]), size);
        const size_t equals = text.find('=');
        Require(equals < size && std::ranges::all_of(text.substr(0, equals),
                                                     [](char c) { return c >= ' ' && c <= '}'; }),
                "names of comments are valid");
        texts.push_back(text.substr(equals + 1));
        at += 4 + size;
    }
    return texts;
}

// A number and a total become two comments.
bool HasComment(const std::vector<std::string_view>& comments, std::string_view text)
{
    const auto has = [&](std::string_view part) {
        return std::ranges::find(comments, part) != comments.end();
    };
    const size_t slash = text.find('/');
    return has(text) || (slash != text.npos && slash == text.rfind('/') &&
                         has(text.substr(0, slash)) && has(text.substr(slash + 1)));
}

void CheckPicture(const Bytes& block, const TagPicture& picture)
{
    const std::string text = Utf8Of(picture.description);
    const Bytes data(picture.data.begin(), picture.data.end());
    const Bytes end = Join({Big(text.size(), 4), Text(text), Bytes(16), Big(data.size(), 4), data});
    Require(S(block).starts_with(S(Big(picture.type, 4))) && S(block).ends_with(S(end)),
            "a FLAC file gets a picture as it is");
}

void CheckCarriedTags(const std::string& path, const Bytes&)
{
    const CarriedTags tags = ReadCarriedTags(Input(path), {});
    const std::vector<RawChunk> chunks = Split(WavTagChunks(tags).bytes);
    Require(tags.id3v2.empty() || chunks.back().data == tags.id3v2, "a WAV file gets the tag");
    const std::string info = chunks.empty() ? "" : S(chunks[0].data);
    const auto made = FlacTagBlocks(tags, Bytes(8));
    const std::vector<Bytes> blocks = made ? FlacBlocks(made->bytes) : std::vector<Bytes>();
    const auto comments = made ? Comments(blocks[0]) : std::vector<std::string_view>();
    for (const auto& [property, values] : tags.content.texts)
        for (const TagLib::String& value : values) {
            const std::string text = Utf8Of(value);
            Require(InfoOfProperty(Utf8Of(property)).empty() || info.find(text) != info.npos,
                    "a WAV file gets the texts");
            Require(!made || HasComment(comments, text), "a FLAC file gets the texts");
        }
    if (!made)
        return;
    Require(blocks.size() == 1 + tags.content.pictures.size(), "a FLAC file gets the pictures");
    for (size_t i = 1; i < blocks.size(); ++i)
        CheckPicture(blocks[i], tags.content.pictures[i - 1]);
}

// Those of a whole file with one chunk of them.
void CheckMarkers(const std::vector<Marker>& markers, const Bytes& file)
try {
    const Bytes data = WalkStrictly(file).Only("MARK").data;
    size_t at = 2;
    for (const Marker& marker : markers) {
        Require(marker.id == Number(data, at - 2) % 65536 &&
                    size_t(marker.frame) == Number(data, at + 2),
                "markers are where the file has them");
        const size_t length = data[at + 6];
        at += 7 + length + (length + 1) % 2;
    }
} catch (const std::runtime_error&) {
}

void CheckAiffMarks(SoundMarks marks)
{
    const auto build = [](SoundMarks& from) {
        AiffBuilder file;
        file.Comm(1, 8, 8000).Ssnd(Noise(9));
        for (const RawChunk& chunk : MakeAiffMarks(from))
            file.Chunk(chunk.code, chunk.data);
        return file.Build();
    };
    const Bytes file = build(marks);
    const std::wstring path = InMemory::OnlyFile(file);
    SoundMarks again = ReadAiffMarks({path.begin(), path.end()});
    Require(build(again) == file, "markers that were written for AIFF are read");
}

void CheckMarks(const std::string& path, const Bytes& file)
{
    SoundMarks marks = ReadAiffMarks(path);
    CheckMarkers(marks.markers, file);
    CheckAiffMarks(marks);
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
    const std::string notes =
        "TIT2:Old|TPE1^a^b|TYER:2004|TCON:(17)|COMM:engx\0y|TXXX:k\0v|"
        "TRCK:3/12/4|TPOS:1/2|POPM=a\0\x40|APIC:image/png\0\3\0\x89PNG|GEOB:a/b\0f\0d\0g"s;
    std::string frames = Frames(3, notes + "|TXXX:a?~v"); // of which FLAC cannot take the name
    std::ranges::replace(frames, '?', '~');
    const Bytes tag = TagOf(3, frames), marker = Join({Big(1, 4), Big(9, 4), Text("\5start")});
    std::vector<Bytes> files;
    const Bytes marks =
        Join({Big(2, 2), Big(1, 2), From(marker, 4), Big(2, 2), Big(20, 4), {0, 0}});
    const Bytes loop = Join({Big(1, 2), Big(1, 2), Big(2, 2)});
    for (const std::string type : {"", "sowt", "fl32", "ulaw"})
        for (const int bits : {8, 12, 16, 24, 32}) {
            AiffBuilder file;
            file.Chunk("NAME", Text("odd")).Comm(2, bits, 44100, type).Ssnd(Noise(48));
            file.Chunk("MARK", marks).Chunk("COMT", Join({marker, Bytes(2)}));
            files.push_back(file.Chunk("INST", Join({Bytes(8, 1), loop, loop})).Chunk("ID3 ", tag));
        }
    for (const uint8_t bits : Bytes{8, 16, 24, 32}) {
        const uint8_t frame = bits / 8;
        const Bytes format = {1, 0, 1, 0, 64, 31, 0, 0, 0, 0, frame, 0, frame, 0, bits, 0};
        Bytes cue = WavChunk("cue ", Bytes(28));
        cue[8] = 1;
        files.push_back(WavChunk(
            "RIFF",
            Join({Text("WAVE"),
                  WavChunk("fmt ", format),
                  cue,
                  WavChunk("data", Noise(24)),
                  WavChunk("odd ", {1, 2, 3}),
                  {0},
                  WavChunk("LIST", Join({Text("INFO"), WavChunk("INAM", Text("Title\0"s))})),
                  WavChunk("id3 ", tag)})));
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
