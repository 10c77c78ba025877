// The index of chunks: what is repaired, and what is said of it.

#include "support/PluginDriver.h"

#include <regex>
#include <sstream>

namespace
{

using ScannerTest = PluginTest;

// What stands in the table below for a line of the trace.
const std::pair<const char*, const char*> kShort[] = {
    {R"(AIFF Header '(.*)'   Length: (\d+)  FormType '(.*)'  .ScanFile.)", "$1 $2 $3, "},
    {R"(Got Chunk '(.*)'  Length: (\d+)  RiffSizeLeft: (\d+)  ChunkPosition: (\d+))",
     "$1 $2/$3@$4, "},
    {R"(Clamped chunk to: (\d+))", "cut to $1, "},
    {"<-<-  .ScanFile.", "done"}};
const std::pair<std::string, std::string> kMessages[] = {
    {"Warning: AIFF chunk has uneven databytes, is non-compliant AIFF.", "odd form, "},
    {"Warning 'RiffSizeLeft != FileSizeLeft' must be extra data on end of file.", "extra data, "},
    {"Warning Chunk is out of AIFF area (but still inside file).", "out of form, "},
    {"Error calculated total AIFF chunk size differs from file.", "total differs, "},
    {"Info Chunk is out of file.", "tag out of file, "},
    {"Error Chunk is out of file.", "!out of file, "},
    {"File error reading chunk.", "!torn, "},
    {"Error: File too small for AIFF.", "!too small"},
    {"Error first chunk unknown: RIFF", "!RIFF"},
    {"Error first chunk unknown: Form", "!Form"}};

// The trace in short; collects what it repeats of the other outputs.
std::string InShort(const std::string& trace, std::string& errors, std::string& information)
{
    std::istringstream lines(trace);
    std::string out;
    for (std::string line; std::getline(lines >> std::ws, line, '\r');) {
        for (const auto& [pattern, format] : kShort)
            if (std::regex_match(line, std::regex(pattern)))
                out += std::regex_replace(line, std::regex(pattern), format);
        for (const auto& [message, word] : kMessages) {
            const bool isError = word[0] == '!';
            const std::string said = message + "  [ScanFile]";
            if (line != (isError ? "*** Error: " : "*** Information: ") + said)
                continue;
            out += word;
            (isError ? errors : information) += said + "\r\n";
        }
    }
    return out;
}

TEST_F(ScannerTest, RepairsAndReports)
{
    using B = AiffBuilder;
    const Bytes ten(10), seven(7);
    const B plain = B().Chunk("AAAA", ten), unpadded = B().Chunk("AAAA", seven, 7, false);
    const auto cut = [&](const char* code, uint32_t size) { return B().Chunk(code, ten, size); };
    const std::tuple<const char*, Bytes, const char*> rows[] = {
        {"control", B(plain).Chunk("BBBB", ten),
         "FORM 40 AIFF, AAAA 10/28@12, BBBB 10/10@30, done"},
        {"empty file", {}, ""},
        {"five bytes", Text("FORM\n"), "!too small"},
        {"eleven bytes", Bytes(11), "!too small"},
        {"foreign", B().FormCode("RIFF"), "!RIFF"},
        {"mixed case", B().FormCode("Form"), "!Form"},
        {"lower case, any type", B("8SVX").FormCode("form").Chunk("AAAA", {}),
         "form 12 8SVX, AAAA 0/0@12, done"},
        {"form only", B(), "FORM 4 AIFF, done"},
        {"form of 3", B().FormSize(3), "FORM 3 AIFF, odd form, done"},
        {"form of 0", B().FormSize(0), "FORM 0 AIFF, total differs, done"},
        {"form of 0 over chunks", B(plain).FormSize(0),
         "FORM 0 AIFF, extra data, total differs, done"},
        {"trailing bytes", B(plain).Tail(ten), "FORM 22 AIFF, extra data, AAAA 10/10@12, done"},
        {"odd chunk is padded", B().Chunk("AAAA", seven).Chunk("BBBB", {}),
         "FORM 28 AIFF, AAAA 7/16@12, BBBB 0/0@28, done"},
        {"odd last chunk without pad", unpadded, "FORM 19 AIFF, odd form, AAAA 7/7@12, done"},
        {"odd last chunk without pad, even form",
         B().Chunk("BBB1", {}).Chunk("AAAA", seven, 7, false).FormSize(28),
         "FORM 28 AIFF, extra data, BBB1 0/16@12, AAAA 7/8@20, done"},
        {"form longer than file", B(plain).FormSize(122),
         "FORM 122 AIFF, extra data, AAAA 10/110@12, total differs, done"},
        {"chunk leaves the file", cut("AAAA", 50).FormSize(122),
         "FORM 122 AIFF, extra data, AAAA 50/110@12, !out of file, cut to 10, total differs, done"},
        {"tag leaves the file", cut("ID3 ", 50).FormSize(122),
         "FORM 122 AIFF, extra data, ID3  50/110@12, tag out of file, cut to 10, total differs, "
         "done"},
        {"only the exact code is excused", cut("id3 ", 50).FormSize(122),
         "FORM 122 AIFF, extra data, id3  50/110@12, !out of file, cut to 10, total differs, done"},
        {"chunk leaves the form", cut("AAAA", 14).Tail(ten),
         "FORM 22 AIFF, extra data, AAAA 14/10@12, out of form, cut to 10, done"},
        {"chunk leaves form and file, the form counts", cut("AAAA", 0xFFFFFFFF).FormSize(42),
         "FORM 42 AIFF, extra data, AAAA 4294967295/30@12, out of form, cut to 30, done"},
        {"clamped to nothing", B().Chunk("AAAA", {}, 1),
         "FORM 12 AIFF, AAAA 1/0@12, out of form, cut to 0, done"},
        {"clamped to an odd size", B().Chunk("AAAA", seven, 9, false),
         "FORM 19 AIFF, odd form, AAAA 9/7@12, out of form, cut to 7, done"},
        {"torn header with little left", B(plain).FormSize(34).Tail(ten),
         "FORM 34 AIFF, extra data, AAAA 10/22@12,  0/4@30, total differs, done"},
        {"torn header", B(plain).FormSize(40).Tail(Bytes(5)),
         "FORM 40 AIFF, extra data, AAAA 10/28@12, !torn, total differs, done"},
        {"torn header at the end of the form", B(plain).FormSize(30).Tail(Bytes(5)),
         "FORM 30 AIFF, extra data, AAAA 10/18@12, total differs, done"},
        {"header across the end of the form", B(plain).FormSize(26).Tail(ten),
         "FORM 26 AIFF, extra data, AAAA 10/14@12,  0/0@30, total differs, done"},
        {"code with a zero", B().Chunk(std::string("A\0BC", 4), {}),
         "FORM 12 AIFF, A 0/0@12, done"}};
    for (const auto& [name, file, expected] : rows) {
        SCOPED_TRACE(name);
        Instance host(plugin, report);
        EXPECT_EQ(host.Open(File(file), 0), expected[0] == '!' ? 0 : 1);
        std::string errors, information;
        EXPECT_EQ(InShort(report.Take(kDebug), errors, information), expected);
        EXPECT_EQ(report.Take(kError), errors);
        EXPECT_EQ(report.Take(kInformation), information);
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
