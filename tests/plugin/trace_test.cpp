// The three outputs of the report, line by line.

#include "edits/EditHarness.h"

#include <utility>

namespace
{

using TraceTest = PluginTest;

const AiffBuilder kSmall = AiffBuilder().Comm(2, 16, 44100).Ssnd(Noise(400));

// The lines up to the look at the header; the indentation is that of a first Open.
std::string HeaderLines(const std::string& path)
{
    return "->->  [Open]\n"
           "  Opening file '" +
           path + R"(' for read access: Opened
  Reading Audio Information
  ->->  [Initialize]
  <-<-  [Initialize]
  ->->  [Initialize]
    clAIFFHandler::CalcAllChunks: Ok
  <-<-  [Initialize]
  ->->  [ScanFile]
    clAIFFHandler::CalcAllChunks: Ok
)";
}

// The whole trace of a first Open that succeeds.
std::string OpenLines(const std::string& path, uint32_t flags)
{
    std::string format = R"(    ->->  [PullOutCOMMnSSND]
      Finding 'COMM' chunk.
      Finding 'SSND' chunk.
      Assigning 'COMM' chunk to WFX
    <-<-  [PullOutCOMMnSSND]
)";
    std::string lines = HeaderLines(path) +
                        R"(      AIFF Header 'FORM'   Length: 446  FormType 'AIFF'  [ScanFile]
      Got Chunk 'COMM'  Length: 18  RiffSizeLeft: 434  ChunkPosition: 12
      Got Chunk 'SSND'  Length: 408  RiffSizeLeft: 408  ChunkPosition: 38
    clAIFFHandler::CalcAllChunks: Ok
  <-<-  [ScanFile]
  Read Audio Information
)";
    if ((flags & (8 + 16)) != 0) // the first to need the format reads it
        lines +=
            "  ->->  [ReadIDTags]\n" + std::exchange(format, "") + R"(    ->->  [InternalReadTags]
    <-<-  [InternalReadTags]
    0 ID Tags:
  <-<-  [ReadIDTags]
)";
    if ((flags & 16) != 0)
        lines += R"(  ->->  [FillAudioProps]
	Audio Quality: CD  (Lossless)
	Encoder Settings: NONE (no compression)
	Channel Mapping: Left, Right
	Sample Count: 100
	Riff Chunks: 'COMM' 18 bytes,  'SSND' 408 bytes
	Gapless: Yes
	Wave Header: AIFF
  <-<-  [FillAudioProps]
)";
    if ((flags & (1 + 4)) != 0)
        lines += "  Writing Audio Information\n  ->->  [FillAudioInfo]\n" + format +
                 "  <-<-  [FillAudioInfo]\n  Written Audio Information\n";
    if ((flags & 1) != 0)
        lines += "  Preparing to Decode\n  ->->  [PrepareToDecodeAudio]\n"
                 "    WFX (on file): Format Tag: 1  Channels: 2  Bits per Sample: 16  "
                 "Samples Per Second: 44100  Bytes Per Second: 176400  Block Align: 4  CB Size: 0\n"
                 "    Setting Position in File\n"
                 "  <-<-  [PrepareToDecodeAudio]\n  Prepared Decoding\n";
    return Lines(lines + " <-<-  [Open]\n");
}

TEST(OpenTrace, EverySumOfFlags)
{
    const TempDir dir;
    const std::string path = dir.Write("a.aiff", kSmall);
    for (uint32_t flags = 0; flags < 32; flags += (flags & 1) != 0 ? 3 : 1) { // none with 2
        const Plugin plugin; // loaded anew, without indentation
        Report report;
        EXPECT_EQ(Instance(plugin, report).Open(path, flags), 1);
        EXPECT_EQ(report.Take(kDebug), OpenLines(path, flags)) << flags;
    }
}

// Every form that an item can have: one value, several, lines, pictures.
const std::string kItems =
    "TIT2:a|TPE1:b/c|TXXX:own\0x|TXXX:own\0y|COMM:eng\0l\nm|APIC:image/png\0\3d\0\x89PNG....|"
    "APIC:\0\4\0jk"s;

TEST_F(TraceTest, EveryItemOfATagIsListed)
{
    const std::string path = File(AiffBuilder(kSmall).Chunk("ID3 ", Tag(3, kItems)));
    EXPECT_EQ(Instance(plugin, report).Open(path, QV_OPEN_READ_TAGS), 1);
    const std::string trace = report.Take(kDebug);
    EXPECT_EQ(trace.substr(trace.find("    ->->  [InternalReadTags]")),
              "    ->->  [InternalReadTags]\r\n    <-<-  [InternalReadTags]\r\n"
              "    7 ID Tags:\r\n\t\t\tTagVersion: ID3v2.3\r\n\t\t\tArtist: b\rc\r\n"
              "\t\t\tComment: l\nm\r\n\t\t\town: x\ry\r\n\t\t\tTitle: a\r\n"
              "\t\t\t_albumart_1_Front Album Cover<subdesc>d: DATA Length: 8   .PNG....\r\n"
              "\t\t\t_albumart_2_Back Album Cover: DATA Length: 2   jk\r\n"
              "  <-<-  [ReadIDTags]\r\n <-<-  [Open]\r\n");
}

// The lines of an edit that finds a form of some size, and those of its own.
std::string EditLines(const std::string& path, int form, const std::string& own)
{
    const auto number = [form](int less) { return std::to_string(form - less); };
    const std::string tag = "         Got Chunk 'ID3 '  Length: " + number(454) +
                            "  RiffSizeLeft: " + number(454) + "  ChunkPosition: 454\n";
    return "   ->->  [IDTagWriter]\n     Opening file '" + path + R"(' for write access: Opened
     ->->  [Initialize]
       clAIFFHandler::CalcAllChunks: Ok
     <-<-  [Initialize]
     ->->  [ScanFile]
       clAIFFHandler::CalcAllChunks: Ok
         AIFF Header 'FORM'   Length: )" +
           number(0) + R"(  FormType 'AIFF'  [ScanFile]
         Got Chunk 'COMM'  Length: 18  RiffSizeLeft: )" +
           number(12) + R"(  ChunkPosition: 12
         Got Chunk 'SSND'  Length: 408  RiffSizeLeft: )" +
           number(38) + "  ChunkPosition: 38\n" + (form > 446 ? tag : "") +
           R"(       clAIFFHandler::CalcAllChunks: Ok
     <-<-  [ScanFile]
     ->->  [InternalReadTags]
     <-<-  [InternalReadTags]
)" + own;
}

// The lines of a tag chunk that gets another size.
std::string ResizeLines(const std::string& size, const std::string& in)
{
    return in + "->->  [ResizeExistingChunkOnFile]\n" + in + "  ->->  [WriteChunkHeaders]\n" + in +
           "    clAIFFHandler::CalcAllChunks: Ok\n" + in +
           "    Writing Chunk Header 'ID3 '  Length: " + size +
           "  ChunkPosition: 454  ChunkDataPos: 462\n" + in + "  <-<-  [WriteChunkHeaders]\n" + in +
           "<-<-  [ResizeExistingChunkOnFile]\n";
}

TEST_F(TraceTest, EveryStepOfAnEditIsShown)
{
    const std::string path = File(AiffBuilder(kSmall).Chunk("ID3 ", Tag(3, kItems)));
    const std::string set = " IDTags  [Set]\n ->->  [WriteIDTags]\n",
                      removal = " ->->  [DeleteATag]\n", closing = "   <-<-  [IDTagWriter]\n",
                      set2 = closing + " <-<-  [WriteIDTags]\n",
                      removal2 = closing + " <-<-  [DeleteATag]\n";
    const std::tuple<Edit, int, std::string> rows[] = {
        {{"", Edit::Set, WithCover(Text("new"), L"Title=b;Artist=c\rd;Own=")},
         588,
         ResizeLines("100", "     ") + set2},
        {{"", Edit::Delete, ListOf(L"Title=;none=")}, 554, ResizeLines("82", "     ") + removal2},
        {{"", Edit::DeleteAll, {}}, 536, R"(     ->->  [RemoveChunkFromFile]
     <-<-  [RemoveChunkFromFile]
     ->->  [WriteChunkHeaders]
       clAIFFHandler::CalcAllChunks: Ok
     <-<-  [WriteChunkHeaders]
)" + removal2},
        {{"", Edit::Set, ListOf(L"Title=b")},
         446,
         R"(     ->->  [AddNewChunkToFile]
       ->->  [AddChunk]
         ->-> Adding Chunk 'ID3 ' Length: 10
           clAIFFHandler::CalcAllChunks: Ok
         <-<-  [AddChunk]
         Writing Chunk Data 'ID3 '  Length: 10  ChunkPosition: 454  ChunkDataPos: 462
       <-<-  [AddNewChunkToFile]
       ->->  [InternalReadTags]
       <-<-  [InternalReadTags]
       chunk index: 2
)" + ResizeLines("28", "       ") +
             "     <-<-  [IDTagWriter]\n"
             "   <-<-  [WriteIDTags]\n"}};
    Instance(plugin, report).Close(); // the first operation is indented in another way
    for (const auto& [edit, form, steps] : rows) {
        report.Take(kDebug);
        EXPECT_EQ(ApplyEdit(plugin, path, edit, &report), 1);
        EXPECT_EQ(report.Take(kDebug),
                  Lines((edit.kind == Edit::Set ? set : removal) + EditLines(path, form, steps)));
    }
}

TEST_F(TraceTest, DecodingSeekingQuestionsAndClosing)
{
    Instance host(plugin, report);
    ASSERT_EQ(host.Open(File(kSmall), 1), 1);
    report.Take(kDebug);
    EXPECT_EQ(host.Next(), 1);
    EXPECT_EQ(report.Take(kDebug), "");
    EXPECT_EQ(host.Seek(5), 1);
    STQvCodecGetSet record = {};
    plugin.Get(host.handle, L"Decoder Description", &record);
    plugin.Set(host.handle, L"Unknown", &record);
    EXPECT_EQ(host.Close(), 1);
    EXPECT_EQ(report.Take(kDebug),
              Lines(" ->->  [SetPosition]\n <-<-  [SetPosition]\n"
                    " Decoder Description  [Get]\n Unknown  [Set]\n"
                    " ->->  [Close]\n   ->->  [Close]\n   <-<-  [Close]\n <-<-  [Close]\n"));
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
                  Lines(HeaderLines(noForm) +
                        "*** Error: Error first chunk unknown: RIFF  [ScanFile]\n"));
        first.Close();
        EXPECT_EQ(report.Take(kDebug), Lines("    ->->  [Close]\n      ->->  [Close]\n"
                                             "      <-<-  [Close]\n    <-<-  [Close]\n"));
    }
    EXPECT_EQ(report.Take(kError), Lines("Error first chunk unknown: RIFF  [ScanFile]\n"));
    Instance second(plugin, report);
    EXPECT_EQ(second.Open(nullptr, 1), 0);
    EXPECT_EQ(second.Open(L"x", 1 + 2), 0);
    EXPECT_EQ(second.Seek(-1), 0);
    EXPECT_EQ(report.Take(kDebug),
              Lines("    ->->  [Open]\n"
                    "      Opening file '' for read access: *** Error: Error opening file '' "
                    "check no other program has it open.  [Open]\n"
                    "      ->->  [Open]\n"
                    "*** Error: Error cannot decode external-packet data.  [Open]\n"
                    "        ->->  [SetPosition]\n"));
    // The file decoder, never initialised, has no report of its own.
    second.Close();
    EXPECT_EQ(report.Take(kDebug), Lines("          ->->  [Close]\n          <-<-  [Close]\n"));
}

TEST_F(TraceTest, FirstOperationLeavesOneSpace)
{
    Instance host(plugin, report);
    STQvCodecGetSet record = {};
    plugin.Get(host.handle, L"a", &record);
    host.Close();
    for (const wchar_t* key : {L"->-> b", L"c ->->", L"<-<- d", L"<-<- e", L"\u00e9\U0001F3B5"})
        plugin.Get(host.handle, key, &record);
    EXPECT_EQ(report.Take(kDebug),
              Lines("a  [Get]\n->->  [Close]\n <-<-  [Close]\n ->-> b  [Get]\n   c ->->  [Get]\n"
                    " <-<- d  [Get]\n <-<- e  [Get]\n \u00e9\U0001F3B5  [Get]\n"));
}

TEST_F(TraceTest, SilentInstanceMovesTheIndentationOfOthers)
{
    const std::string path = File(kSmall);
    void* const off = QV_INVALID_HANDLE;
    EXPECT_EQ(Instance(plugin, STNStdReport{off, off, off}).Open(nullptr, 1), 0);
    Instance mute(plugin);
    EXPECT_EQ(mute.Open(path, 1), 1);
    EXPECT_EQ(mute.Rest(), HostOrder(Noise(400), 16));
    Instance host(plugin, report);
    host.Close();
    EXPECT_EQ(report.Take(kDebug), Lines("  ->->  [Close]\n  <-<-  [Close]\n"));
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
    const std::tuple<const char*, Bytes, uint32_t, int, std::string> rows[] = {
        {"control", kSmall, 1, 1, ""},
        {"no COMM", B().Ssnd(sound), 4, 0, noComm},
        {"no COMM, flags 0", B().Ssnd(sound), 0, 1, ""},
        {"no COMM, each step tries again", B(), 16 + 4, 0, noComm + noComm + noComm},
        {"no SSND", comm(18), 1, 0, noSound},
        {"chunks are found in upper case only", comm(18).Chunk("ssnd", Bytes(8)), 1, 0, noSound},
        {"COMM of 17", comm(17).Ssnd(sound), 1, 0, badSize},
        {"COMM of 18", comm(18).Ssnd(sound), 1, 1, ""},
        {"COMM of 128000", comm(128000).Ssnd(sound), 1, 1, ""},
        {"COMM of 128001", comm(128001).Ssnd(sound), 1, 0, badSize},
        {"COMM cut by the end of the file",
         B().Ssnd(sound).Chunk("COMM", Bytes(17), 18, false).FormSize(62), 1, 0,
         "Error Chunk is out of file.  [ScanFile]\n" + badSize},
        {"COMM cut by the file, believed for the form",
         B().Ssnd(sound).Chunk("COMM", Bytes(17), 60, false).FormSize(64), 16 + 4, 0,
         noRead + noRead + noRead},
        {"compressed", B(ulaw).Ssnd(sound), 1, 0,
         "Error - file has compressed audio (not supported).  [PrepareToDecodeAudio]\n"},
        {"tags of a file without sound", ulaw, 8, 1, noSound},
    };
    for (const auto& [name, file, flags, result, error] : rows) {
        Instance host(plugin, report);
        EXPECT_EQ(host.Open(File(file), flags), result) << name;
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
