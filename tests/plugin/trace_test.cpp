// SPDX-License-Identifier: MIT

// The three outputs of the report, line by line.

#include "TraceLines.h"
#include "edits/EditHarness.h"

#include <utility>

namespace
{

using TraceTest = PluginTest;

const AiffBuilder kSmall = AiffBuilder().Comm(2, 16, 44100).Ssnd(Noise(400));

// The lines up to the look at the header; the indentation is that of a first Open.
std::string HeaderLines(const std::string& path)
{
    const std::string steps = "Reading Audio Information|Initialize{}Initialize{Ok|}ScanFile{Ok|";
    return "->->  [Open]\r\n" +
           TraceLines("Opening file '" + path + "' for read access: Opened|" + steps, 2);
}

// Every form that an item can have: one value, several, lines, pictures.
const AiffBuilder kTagged = AiffBuilder(kSmall).Chunk(
    "ID3 ", Tag(3, "TIT2:a|TPE1:b/c|TXXX:own\0x|TXXX:own\0y|COMM:eng\0l\nm|"
                   "APIC:image/png\0\3d\0\x89PNG....|APIC:\0\4\0twenty and two letters"s));

// The whole trace of a first Open that succeeds.
std::string OpenLines(const std::string& path, uint32_t flags)
{
    std::string format = "PullOutCOMMnSSND{Finding 'COMM' chunk.|Finding 'SSND' chunk.|"
                         "Assigning 'COMM' chunk to WFX|}";
    std::string lines =
        "    AIFF Header 'FORM'   Length: 608  FormType 'AIFF'  [ScanFile]|"
        "    Got Chunk 'COMM'  Length: 18  RiffSizeLeft: 596  ChunkPosition: 12|"
        "    Got Chunk 'SSND'  Length: 408  RiffSizeLeft: 570  ChunkPosition: 38|"
        "    Got Chunk 'ID3 '  Length: 154  RiffSizeLeft: 154  ChunkPosition: 454|"
        "  clAIFFHandler::CalcAllChunks: Ok|<  <-<-  [ScanFile]|Read Audio Information|";
    if ((flags & (8 + 16)) != 0) // the first to need the format reads it
        lines += "ReadIDTags{" + std::exchange(format, "") +
                 "InternalReadTags{}7 ID Tags:|<\t\t\tTagVersion: ID3v2.3|<\t\t\tArtist: b\rc|"
                 "<\t\t\tComment: l\nm|<\t\t\town: x\ry|<\t\t\tTitle: a|"
                 "<\t\t\t_albumart_1_Front Album Cover<subdesc>d: DATA Length: 8   .PNG....|"
                 "<\t\t\t_albumart_2_Back Album Cover: DATA Length: 22   twenty and two lette|}";
    if ((flags & 16) != 0)
        lines += "FillAudioProps{<\tAudio Quality: CD  (Lossless)|"
                 "<\tEncoder Settings: NONE (no compression)|<\tChannel Mapping: Left, Right|"
                 "<\tSample Count: 100|<\tRiff Chunks: 'COMM' 18 bytes,  'SSND' 408 bytes,  "
                 "'ID3 ' 154 bytes|<\tID Tag: iTunes ID3|<\tContains: ID Tag [iTunes ID3]|"
                 "<\tGapless: Yes|<\tWave Header: AIFF|}";
    if ((flags & (1 + 4)) != 0)
        lines +=
            "Writing Audio Information|FillAudioInfo{" + format + "}Written Audio Information|";
    if ((flags & 1) != 0)
        lines += "Preparing to Decode|PrepareToDecodeAudio{WFX (on file): Format Tag: 1  Channels: "
                 "2  Bits per Sample: 16  Samples Per Second: 44100  Bytes Per Second: 176400  "
                 "Block Align: 4  CB Size: 0|Setting Position in File|}Prepared Decoding|";
    return HeaderLines(path) + TraceLines(lines, 2) + " <-<-  [Open]\r\n";
}

TEST(OpenTrace, EverySumOfFlags)
{
    const TempDir dir;
    const std::string path = dir.Write("a.aiff", kTagged);
    for (uint32_t flags = 0; flags < 32; flags += (flags & 1) != 0 ? 3 : 1) { // none with 2
        const Plugin plugin; // loaded anew, without indentation
        Report report;
        EXPECT_EQ(Instance(plugin, report).Open(path, flags), 1);
        EXPECT_EQ(report.Take(kDebug), OpenLines(path, flags)) << flags;
    }
}

// A tag chunk that gets another size.
std::string Resizing(int size)
{
    return "ResizeExistingChunkOnFile{WriteChunkHeaders{Ok|Writing Chunk Header 'ID3 '  Length: " +
           std::to_string(size) + "  ChunkPosition: 454  ChunkDataPos: 462|}}";
}

TEST_F(TraceTest, EveryStepOfAnEditIsShown)
{
    const std::string path = File(kTagged);
    const std::string removal = "RemoveChunkFromFile{}WriteChunkHeaders{Ok|}",
                      addition = "AddNewChunkToFile{AddChunk{->-> Adding Chunk 'ID3 ' Length: 10|"
                                 "Ok|}Writing Chunk Data 'ID3 '  Length: 10  ChunkPosition: 454  "
                                 "ChunkDataPos: 462|}InternalReadTags{}chunk index: 2|";
    const std::tuple<Edit, int, std::string> rows[] = {
        // size of the form before, and last steps
        {{"", Edit::Set, WithCover(Text("new"), L"Title=b;Artist=c\rd;Own=")}, 608, Resizing(120)},
        {{"", Edit::Delete, ListOf(L"Title=;none=")}, 574, Resizing(102)},
        {{"", Edit::DeleteAll, {}}, 556, removal},
        {{"", Edit::Set, ListOf(L"Title=b")}, 446, addition + Resizing(28)}};
    Instance(plugin, report).Close(); // the first operation is indented in another way
    for (const auto& [edit, form, steps] : rows) {
        const auto chunk = [end = form](const std::string& code, int size, int at) {
            return "  Got Chunk '" + code + "'  Length: " + std::to_string(size) +
                   "  RiffSizeLeft: " + std::to_string(end - at) +
                   "  ChunkPosition: " + std::to_string(at) + "|";
        };
        report.Take(kDebug);
        EXPECT_EQ(ApplyEdit(plugin, path, edit, &report), 1);
        const std::string header = "  AIFF Header 'FORM'   Length: " + std::to_string(form) +
                                   "  FormType 'AIFF'  [ScanFile]|",
                          lines = "IDTagWriter{Opening file '" + path +
                                  "' for write access: " + "Opened|Initialize{Ok|}ScanFile{Ok|" +
                                  header + chunk("COMM", 18, 12) + chunk("SSND", 408, 38) +
                                  (form > 446 ? chunk("ID3 ", form - 454, 454) : "") +
                                  "Ok|}InternalReadTags{}" + steps + "}}";
        const char* const call =
            edit.kind == Edit::Set ? "IDTags  [Set]|WriteIDTags{" : "DeleteATag{";
        const std::string durable = "Durable Edits  [Set]|"; // with a right and a wrong value
        EXPECT_EQ(report.Take(kDebug), TraceLines(durable + durable + call + lines, 1));
    }
}

// Instances without a report move the indentation of others.
TEST_F(TraceTest, DecodingSeekingQuestionsAndClosing)
{
    void* const off = QV_INVALID_HANDLE;
    EXPECT_EQ(Instance(plugin, STNStdReport{off, off, off}).Open(nullptr, 1), 0);
    Instance mute(plugin), host(plugin, report);
    EXPECT_EQ(mute.Open(File(kSmall), 1), 1);
    EXPECT_EQ(mute.Rest(), HostOrder(Noise(400), 16));
    ASSERT_EQ(host.Open(File(kSmall), 1), 1);
    report.Take(kDebug);
    EXPECT_EQ(host.Next(), 1);
    EXPECT_EQ(report.Take(kDebug), "");
    EXPECT_EQ(host.Seek(5), 1);
    EXPECT_TRUE(host.Get(L"Decoder Description") == 1 && host.Set(L"Unknown", 0) == 0);
    EXPECT_EQ(host.Close(), 1);
    EXPECT_EQ(
        report.Take(kDebug),
        TraceLines("SetPosition{}Decoder Description  [Get]|Unknown  [Set]|Close{Close{}}", 2));
    EXPECT_EQ(report.Take(kError) + report.Take(kInformation), "");
}

// A failing operation leaves its two spaces behind, in all instances of the process.
TEST_F(TraceTest, FailuresDeepenTheIndentation)
{
    const std::string noForm = File(AiffBuilder().FormCode("RIFF"));
    {
        Instance first(plugin, report);
        EXPECT_EQ(first.Open(noForm, 1), 0);
        EXPECT_EQ(report.Take(kDebug),
                  HeaderLines(noForm) +
                      "*** Error: Error first chunk unknown: RIFF  [ScanFile]\r\n");
        first.Close();
        EXPECT_EQ(report.Take(kDebug), TraceLines("Close{Close{}}", 4));
    }
    EXPECT_EQ(report.Take(kError), Lines("Error first chunk unknown: RIFF  [ScanFile]\n"));
    Instance second(plugin, report);
    EXPECT_EQ(second.Open(nullptr, 1), 0);
    EXPECT_EQ(second.Open(L"x", 1 + 2), 0);
    EXPECT_EQ(second.Seek(-1), 0);
    EXPECT_EQ(
        report.Take(kDebug),
        TraceLines("Open{Opening file '' for read access: *** Error: Error opening file '' check "
                   "no other program has it open.  [Open]|Open{<*** Error: Error cannot "
                   "decode external-packet data.  [Open]|SetPosition{",
                   4));
    // The file decoder, never initialised, has no report of its own.
    second.Close();
    EXPECT_EQ(report.Take(kDebug), TraceLines("Close{}", 10));
}

TEST_F(TraceTest, FirstOperationLeavesOneSpace)
{
    Instance host(plugin, report);
    host.Get(L"a");
    host.Close();
    for (const wchar_t* key : {L"->-> b", L"c ->->", L"<-<- d", L"<-<- e", L"\u00e9\U0001F3B5"})
        host.Get(key);
    EXPECT_EQ(report.Take(kDebug),
              Lines("a  [Get]\n->->  [Close]\n <-<-  [Close]\n ->-> b  [Get]\n   c ->->  [Get]\n"
                    " <-<- d  [Get]\n <-<- e  [Get]\n \u00e9\U0001F3B5  [Get]\n"));
}

TEST_F(TraceTest, EveryReasonForAFailedOpen)
{
    using B = AiffBuilder;
    const Bytes sound = Noise(16);
    const auto comm = [](size_t size) { return B().Chunk("COMM", Bytes(size)); };
    const B ulaw = B().Comm(1, 16, 8000, "ulaw");
    const std::string pullOut = "  [PullOutCOMMnSSND]\n";
    const std::string noComm = "Error cannot find 'COMM' chunk." + pullOut,
                      noSound = "Error cannot find 'SSND' chunk." + pullOut,
                      badSize = "Error 'COMM' chunk is a bad size." + pullOut,
                      noRead = "Error cannot read 'COMM' chunk from file." + pullOut;
    std::vector<std::tuple<const char*, Bytes, uint32_t, std::string>> rows = {
        {"control", kSmall, 1, ""},
        {"no COMM", B().Ssnd(sound), 4, noComm},
        {"no COMM, flags 0", B().Ssnd(sound), 0, ""},
        {"no COMM, each step tries again", B(), 16 + 4, noComm + noComm + noComm},
        {"no SSND", comm(18), 1, noSound},
        {"chunks are found in upper case only", comm(18).Chunk("ssnd", Bytes(8)), 1, noSound},
        {"COMM cut by the end of the file",
         B().Ssnd(sound).Chunk("COMM", Bytes(17), 18, false).FormSize(62), 1,
         "Error Chunk is out of file.  [ScanFile]\n" + badSize},
        {"COMM cut by the file, believed for the form",
         B().Ssnd(sound).Chunk("COMM", Bytes(17), 60, false).FormSize(64), 16 + 4,
         noRead + noRead + noRead},
        {"compressed", B(ulaw).Ssnd(sound), 1,
         "Error - file has compressed audio (not supported).  [PrepareToDecodeAudio]\n"},
        {"tags of a file without sound", ulaw, 8, noSound}};
    for (const size_t size : {17u, 18u, 128000u, 128001u})
        rows.emplace_back("sizes", comm(size).Ssnd(sound), 1,
                          size == 18 || size == 128000 ? "" : badSize);
    for (const auto& [name, file, flags, error] : rows) {
        Instance host(plugin, report);
        EXPECT_EQ(host.Open(File(file), flags), error.empty() || flags == 8) << name;
        EXPECT_EQ(report.Take(kError), Lines(error)) << name;
    }
    Instance host(plugin, report);
    for (const std::string name : {"", "/nonexistent/a.aiff", "/", "HTTP://127.0.0.1:1/a"}) {
        EXPECT_EQ(host.Open(name, 1), 0);
        EXPECT_EQ(report.Take(kError), Lines("Error opening file '" + name +
                                             "' check no other program has it open.  [Open]\n"));
    }
}

} // namespace
