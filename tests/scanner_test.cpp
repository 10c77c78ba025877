// The index of chunks: what is repaired, and what is said of it.

#include "support/PluginDriver.h"

#include <sstream>

namespace
{

using ScannerTest = PluginTest;

// The lines of a trace that name the chunks and their repaired sizes.
std::string ChunkLines(const std::string& trace)
{
    std::istringstream lines(trace);
    std::string out;
    for (std::string line; std::getline(lines >> std::ws, line, '\r');)
        for (const char* start : {"Got Chunk", "Clamped chunk", "AIFF Header"})
            if (line.find(start) == 0)
                out += line + "\n";
    return out;
}

std::string Header(int size, const char* type = "AIFF", const char* code = "FORM")
{
    return std::string("AIFF Header '") + code + "'   Length: " + std::to_string(size) +
           "  FormType '" + type + "'  [ScanFile]\n";
}

std::string Got(const char* code, int64_t size, int left, int position)
{
    return std::string("Got Chunk '") + code + "'  Length: " + std::to_string(size) +
           "  RiffSizeLeft: " + std::to_string(left) +
           "  ChunkPosition: " + std::to_string(position) + "\n";
}

const std::string kOdd =
    "Warning: AIFF chunk has uneven databytes, is non-compliant AIFF.  [ScanFile]\n";
const std::string kExtra =
    "Warning 'RiffSizeLeft != FileSizeLeft' must be extra data on end of file.  [ScanFile]\n";
const std::string kOutOfForm =
    "Warning Chunk is out of AIFF area (but still inside file).  [ScanFile]\n";
const std::string kTotal =
    "Error calculated total AIFF chunk size differs from file.  [ScanFile]\n";
const std::string kOutOfFile = "Error Chunk is out of file.  [ScanFile]\n";

TEST_F(ScannerTest, RepairsAndReports)
{
    using B = AiffBuilder;
    const Bytes ten(10);
    struct Row {
        const char* name;
        Bytes file;
        int32_t result;
        std::string error, information, chunks;
    };
    const Row rows[] = {
        {"control", B().Chunk("AAAA", ten).Chunk("BBBB", ten), 1, "", "",
         Header(40) + Got("AAAA", 10, 28, 12) + Got("BBBB", 10, 10, 30)},
        {"empty file", {}, 1, "", "", ""},
        {"five bytes", Text("FORM\n"), 0, "Error: File too small for AIFF.  [ScanFile]\n", "", ""},
        {"eleven bytes", Bytes(11), 0, "Error: File too small for AIFF.  [ScanFile]\n", "", ""},
        {"foreign", B().FormCode("RIFF"), 0, "Error first chunk unknown: RIFF  [ScanFile]\n", "",
         ""},
        {"mixed case", B().FormCode("Form"), 0, "Error first chunk unknown: Form  [ScanFile]\n", "",
         ""},
        {"lower case, any type", B("8SVX").FormCode("form").Chunk("AAAA", {}), 1, "", "",
         Header(12, "8SVX", "form") + Got("AAAA", 0, 0, 12)},
        {"form only", B(), 1, "", "", Header(4)},
        {"form of 3", B().FormSize(3), 1, "", kOdd, Header(3)},
        {"form of 0", B().FormSize(0), 1, "", kTotal, Header(0)},
        {"form of 0 over chunks", B().Chunk("AAAA", ten).FormSize(0), 1, "", kExtra + kTotal,
         Header(0)},
        {"trailing bytes", B().Chunk("AAAA", ten).Tail(ten), 1, "", kExtra,
         Header(22) + Got("AAAA", 10, 10, 12)},
        {"odd chunk is padded", B().Chunk("AAAA", Bytes(7)).Chunk("BBBB", {}), 1, "", "",
         Header(28) + Got("AAAA", 7, 16, 12) + Got("BBBB", 0, 0, 28)},
        {"odd last chunk without pad", B().Chunk("AAAA", Bytes(7), 7, false), 1, "", kOdd,
         Header(19) + Got("AAAA", 7, 7, 12)},
        {"odd last chunk without pad, even form",
         B().Chunk("BBB1", {}).Chunk("AAAA", Bytes(7), 7, false).FormSize(28), 1, "", kExtra,
         Header(28) + Got("BBB1", 0, 16, 12) + Got("AAAA", 7, 8, 20)},
        {"form longer than file", B().Chunk("AAAA", ten).FormSize(122), 1, "", kExtra + kTotal,
         Header(122) + Got("AAAA", 10, 110, 12)},
        {"chunk leaves the file", B().Chunk("AAAA", ten, 50).FormSize(122), 1, kOutOfFile,
         kExtra + kTotal, Header(122) + Got("AAAA", 50, 110, 12) + "Clamped chunk to: 10\n"},
        {"tag leaves the file", B().Chunk("ID3 ", ten, 50).FormSize(122), 1, "",
         kExtra + "Info Chunk is out of file.  [ScanFile]\n" + kTotal,
         Header(122) + Got("ID3 ", 50, 110, 12) + "Clamped chunk to: 10\n"},
        {"only the exact code is excused", B().Chunk("id3 ", ten, 50).FormSize(122), 1, kOutOfFile,
         kExtra + kTotal, Header(122) + Got("id3 ", 50, 110, 12) + "Clamped chunk to: 10\n"},
        {"chunk leaves the form", B().Chunk("AAAA", ten, 14).Tail(ten), 1, "", kExtra + kOutOfForm,
         Header(22) + Got("AAAA", 14, 10, 12) + "Clamped chunk to: 10\n"},
        {"chunk leaves form and file, the form counts",
         B().Chunk("AAAA", ten, 0xFFFFFFFF).FormSize(42), 1, "", kExtra + kOutOfForm,
         Header(42) + Got("AAAA", 0xFFFFFFFF, 30, 12) + "Clamped chunk to: 30\n"},
        {"clamped to nothing", B().Chunk("AAAA", {}, 1), 1, "", kOutOfForm,
         Header(12) + Got("AAAA", 1, 0, 12) + "Clamped chunk to: 0\n"},
        {"clamped to an odd size", B().Chunk("AAAA", Bytes(7), 9, false), 1, "", kOdd + kOutOfForm,
         Header(19) + Got("AAAA", 9, 7, 12) + "Clamped chunk to: 7\n"},
        {"torn header with little left", B().Chunk("AAAA", ten).FormSize(34).Tail(ten), 1, "",
         kExtra + kTotal, Header(34) + Got("AAAA", 10, 22, 12) + Got("", 0, 4, 30)},
        {"torn header", B().Chunk("AAAA", ten).FormSize(40).Tail(Bytes(5)), 1,
         "File error reading chunk.  [ScanFile]\n", kExtra + kTotal,
         Header(40) + Got("AAAA", 10, 28, 12)},
        {"torn header at the end of the form", B().Chunk("AAAA", ten).FormSize(30).Tail(Bytes(5)),
         1, "", kExtra + kTotal, Header(30) + Got("AAAA", 10, 18, 12)},
        {"header across the end of the form", B().Chunk("AAAA", ten).FormSize(26).Tail(ten), 1, "",
         kExtra + kTotal, Header(26) + Got("AAAA", 10, 14, 12) + Got("", 0, 0, 30)},
        {"code with a zero", B().Chunk(std::string("A\0BC", 4), {}), 1, "", "",
         Header(12) + Got("A", 0, 0, 12)},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        Instance host(plugin, report);
        EXPECT_EQ(host.Open(File(row.file), 0), row.result);
        EXPECT_EQ(report.Take(kError), Lines(row.error));
        EXPECT_EQ(report.Take(kInformation), Lines(row.information));
        const std::string trace = report.Take(kDebug);
        const bool isLeft = trace.find("<-<-  [ScanFile]") != std::string::npos;
        EXPECT_EQ(isLeft, row.result == 1 && !row.file.empty());
        if (!row.chunks.empty() || row.file.empty())
            EXPECT_EQ(ChunkLines(trace), row.chunks);
        host.Close();
        report.Take(kDebug);
    }
}

TEST_F(ScannerTest, FirstOfSeveralChunksCounts)
{
    const Bytes comm = Join({Big(1, 2), Big(9, 4), Big(8, 2), Extended(8000)});
    AiffBuilder file;
    file.Ssnd(Text("abcd")).Chunk("COMM", comm).Comm(2, 16, 44100).Ssnd(Text("wxyz"));
    Instance host(plugin);
    ASSERT_EQ(host.Open(File(file), 1), 1);
    EXPECT_EQ(host.Rest(), HostOrder(Text("abcd"), 8));
    EXPECT_EQ(+host.open.AudioInfo.WaveFormat.nSamplesPerSec, 8000u);
}

} // namespace
