// The three outputs of the report, line by line.

#include "support/PluginDriver.h"

namespace
{

using TraceTest = PluginTest;

constexpr uint32_t kPrepareInfoTagsProperties = 1 + 4 + 8 + 16;

Bytes SmallFile()
{
    return AiffBuilder().Comm(2, 16, 44100).Ssnd(Noise(400)).Build();
}

// The lines up to the end of a sound scan; the indentation is that of a first Open.
std::string OpeningLines(const std::string& path)
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

const char* const kScannedLines =
    R"(      AIFF Header 'FORM'   Length: 446  FormType 'AIFF'  [ScanFile]
      Got Chunk 'COMM'  Length: 18  RiffSizeLeft: 434  ChunkPosition: 12
      Got Chunk 'SSND'  Length: 408  RiffSizeLeft: 408  ChunkPosition: 38
    clAIFFHandler::CalcAllChunks: Ok
  <-<-  [ScanFile]
  Read Audio Information
)";

const char* const kFormatLines = R"(    ->->  [PullOutCOMMnSSND]
      Finding 'COMM' chunk.
      Finding 'SSND' chunk.
      Assigning 'COMM' chunk to WFX
    <-<-  [PullOutCOMMnSSND]
)";

const char* const kPreparingLines = R"(  Preparing to Decode
  ->->  [PrepareToDecodeAudio]
    WFX (on file): Format Tag: 1  Channels: 2  Bits per Sample: 16  Samples Per Second: 44100  Bytes Per Second: 176400  Block Align: 4  CB Size: 0
    Setting Position in File
  <-<-  [PrepareToDecodeAudio]
  Prepared Decoding
)";

const char* const kTextLines = R"(    0 ID Tags:
  <-<-  [ReadIDTags]
  ->->  [FillAudioProps]
	Audio Quality: CD  (Lossless)
	Encoder Settings: NONE (no compression)
	Channel Mapping: Left, Right
	Sample Count: 100
	Riff Chunks: 'COMM' 18 bytes,  'SSND' 408 bytes
	Gapless: Yes
	Wave Header: AIFF
  <-<-  [FillAudioProps]
)";

TEST_F(TraceTest, OpenDecodeSeekCloseAndQuestions)
{
    Instance host(plugin, &report);
    const std::string path = dir.Write("a.aiff", SmallFile());
    ASSERT_EQ(host.Open(path, 1), 1);
    EXPECT_EQ(report.Take(kDebug),
              Lines(OpeningLines(path) + kScannedLines +
                    "  Writing Audio Information\n  ->->  [FillAudioInfo]\n" + kFormatLines +
                    "  <-<-  [FillAudioInfo]\n  Written Audio Information\n" + kPreparingLines +
                    " <-<-  [Open]\n"));
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

TEST_F(TraceTest, OpenWithTagsAndProperties)
{
    Instance host(plugin, &report);
    const std::string path = dir.Write("a.aiff", SmallFile());
    ASSERT_EQ(host.Open(path, kPrepareInfoTagsProperties), 1);
    EXPECT_EQ(report.Take(kDebug),
              Lines(OpeningLines(path) + kScannedLines + "  ->->  [ReadIDTags]\n" + kFormatLines +
                    "    ->->  [InternalReadTags]\n    <-<-  [InternalReadTags]\n" + kTextLines +
                    "  Writing Audio Information\n  ->->  [FillAudioInfo]\n"
                    "  <-<-  [FillAudioInfo]\n  Written Audio Information\n" +
                    kPreparingLines + " <-<-  [Open]\n"));
}

// A failing operation leaves its two spaces behind, in all instances of the process.
TEST_F(TraceTest, FailuresDeepenTheIndentation)
{
    const std::string noForm = dir.Write("riff.aiff", AiffBuilder().FormCode("RIFF").Build());
    {
        Instance first(plugin, &report);
        EXPECT_EQ(first.Open(noForm, 1), 0);
        EXPECT_EQ(report.Take(kDebug),
                  Lines(OpeningLines(noForm) +
                        "*** Error: Error first chunk unknown: RIFF  [ScanFile]\n"));
        first.Close();
        EXPECT_EQ(report.Take(kDebug), Lines("    ->->  [Close]\n      ->->  [Close]\n"
                                             "      <-<-  [Close]\n    <-<-  [Close]\n"));
    }
    EXPECT_EQ(report.Take(kError), Lines("Error first chunk unknown: RIFF  [ScanFile]\n"));
    Instance second(plugin, &report);
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
    Instance host(plugin, &report);
    STQvCodecGetSet record = {};
    plugin.Get(host.handle, L"a", &record);
    host.Close();
    plugin.Get(host.handle, L"->-> b", &record);
    plugin.Get(host.handle, L"c ->->", &record);
    plugin.Get(host.handle, L"<-<- d", &record);
    plugin.Get(host.handle, L"<-<- e", &record);
    plugin.Get(host.handle, L"\u00e9\U0001F3B5", &record);
    EXPECT_EQ(report.Take(kDebug),
              Lines("a  [Get]\n->->  [Close]\n <-<-  [Close]\n ->-> b  [Get]\n   c ->->  [Get]\n"
                    " <-<- d  [Get]\n <-<- e  [Get]\n \u00e9\U0001F3B5  [Get]\n"));
}

TEST_F(TraceTest, SilentInstanceMovesTheIndentationOfOthers)
{
    const std::string path = dir.Write("a.aiff", SmallFile());
    STNStdReport invalid = {QV_INVALID_HANDLE, QV_INVALID_HANDLE, QV_INVALID_HANDLE};
    void* silent = plugin.Create(&invalid);
    STQvOpenDecoder open = {};
    EXPECT_EQ(plugin.Open(silent, &open), 0);
    EXPECT_EQ(plugin.Destroy(silent), 1);
    Instance mute(plugin);
    EXPECT_EQ(mute.Open(path, 1), 1);
    EXPECT_EQ(mute.Rest(), HostOrder(Noise(400), 16));
    Instance host(plugin, &report);
    host.Close();
    EXPECT_EQ(report.Take(kDebug), Lines("  ->->  [Close]\n  <-<-  [Close]\n"));
}

TEST_F(TraceTest, EveryReasonForAFailedOpen)
{
    const Bytes sound = Noise(16);
    const auto comm = [](size_t size) { return AiffBuilder().Chunk("COMM", Bytes(size)); };
    struct Row {
        const char* name;
        Bytes file;
        uint32_t flags;
        int32_t result;
        const char* error;
    };
    const Row rows[] = {
        {"control", SmallFile(), 1, 1, ""},
        {"no COMM", AiffBuilder().Ssnd(sound).Build(), 4, 0,
         "Error cannot find 'COMM' chunk.  [PullOutCOMMnSSND]\n"},
        {"no COMM, flags 0", AiffBuilder().Ssnd(sound).Build(), 0, 1, ""},
        {"no COMM, each step tries again", AiffBuilder().Build(), 16 + 4, 0,
         "Error cannot find 'COMM' chunk.  [PullOutCOMMnSSND]\n"
         "Error cannot find 'COMM' chunk.  [PullOutCOMMnSSND]\n"
         "Error cannot find 'COMM' chunk.  [PullOutCOMMnSSND]\n"},
        {"no SSND", comm(18).Build(), 1, 0,
         "Error cannot find 'SSND' chunk.  [PullOutCOMMnSSND]\n"},
        {"chunks are found in upper case only", comm(18).Chunk("ssnd", Bytes(8)).Build(), 1, 0,
         "Error cannot find 'SSND' chunk.  [PullOutCOMMnSSND]\n"},
        {"COMM of 17", comm(17).Ssnd(sound).Build(), 1, 0,
         "Error 'COMM' chunk is a bad size.  [PullOutCOMMnSSND]\n"},
        {"COMM of 18", comm(18).Ssnd(sound).Build(), 1, 1, ""},
        {"COMM of 128000", comm(128000).Ssnd(sound).Build(), 1, 1, ""},
        {"COMM of 128001", comm(128001).Ssnd(sound).Build(), 1, 0,
         "Error 'COMM' chunk is a bad size.  [PullOutCOMMnSSND]\n"},
        {"COMM cut by the end of the file",
         AiffBuilder().Ssnd(sound).Chunk("COMM", Bytes(17), 18, false).FormSize(62).Build(), 1, 0,
         "Error Chunk is out of file.  [ScanFile]\n"
         "Error 'COMM' chunk is a bad size.  [PullOutCOMMnSSND]\n"},
        {"COMM cut by the file, believed for the form",
         AiffBuilder().Ssnd(sound).Chunk("COMM", Bytes(17), 60, false).FormSize(64).Build(), 1, 0,
         "Error cannot read 'COMM' chunk from file.  [PullOutCOMMnSSND]\n"},
        {"compressed", AiffBuilder().Comm(1, 16, 8000, "ulaw").Ssnd(sound).Build(), 1, 0,
         "Error - file has compressed audio (not supported).  [PrepareToDecodeAudio]\n"},
        {"tags of a file without sound", AiffBuilder().Comm(1, 16, 8000, "ulaw").Build(), 8, 1,
         "Error cannot find 'SSND' chunk.  [PullOutCOMMnSSND]\n"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        Instance host(plugin, &report);
        EXPECT_EQ(host.Open(dir.Write("row.aiff", row.file), row.flags), row.result);
        EXPECT_EQ(report.Take(kError), Lines(row.error));
        EXPECT_EQ(host.Close(), 1);
    }
    Instance host(plugin, &report);
    const std::wstring folder = Wide(dir.Path(""));
    for (const wchar_t* name :
         {L"", L"/nonexistent/a.aiff", folder.c_str(), L"HTTP://127.0.0.1:1/a"}) {
        EXPECT_EQ(host.Open(name, 1), 0);
        const std::string narrow(name, name + std::wcslen(name));
        EXPECT_EQ(report.Take(kError), Lines("Error opening file '" + narrow +
                                             "' check no other program has it open.  [Open]\n"));
    }
}

} // namespace
