// SPDX-License-Identifier: MIT

// The index of chunks: what is repaired, and what is said of it.

#include "support/PluginDriver.h"

#include <regex>
#include <sstream>

namespace
{

using ScannerTest = PluginTest;

// What stands in the table below for a line of the trace.
const std::pair<const char*, const char*> kShort[] = {
    {R"(AIFF Header 'FORM'   Length: (\d+)  FormType 'AIFF'  .ScanFile.)", "$1, "},
    {R"(AIFF Header '(form)'   Length: (\d+)  FormType '(.*)'  .ScanFile.)", "$1 $2 $3, "},
    {R"(Got Chunk '(.*)'  Length: (\d+)  RiffSizeLeft: (\d+)  ChunkPosition: (\d+))",
     "$1 $2/$3@$4, "},
    {R"(Clamped chunk to: (\d+))", "cut $1, "},
    {"<-<-  .ScanFile.", "."}};
const std::pair<std::string, std::string> kMessages[] = {
    {"Warning: AIFF chunk has uneven databytes, is non-compliant AIFF.", "odd, "},
    {"Warning 'RiffSizeLeft != FileSizeLeft' must be extra data on end of file.", "extra, "},
    {"Warning Chunk is out of AIFF area (but still inside file).", "past form, "},
    {"Error calculated total AIFF chunk size differs from file.", "total, "},
    {"Info Chunk is out of file.", "tag past file, "},
    {"Error Chunk is out of file.", "!past file, "},
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
    const auto claim = [&](const char* code, uint32_t size, uint32_t form) {
        return B().Chunk(code, ten, size).FormSize(form);
    };
    const auto tail = [&](uint32_t form, size_t size) {
        return B(plain).FormSize(form).Tail(Bytes(size));
    };
    const std::tuple<const char*, Bytes, const char*> rows[] = {
        {"control", B(plain).Chunk("BBBB", ten), "40, AAAA 10/28@12, BBBB 10/10@30, ."},
        {"empty file", {}, ""},
        {"five bytes", Text("FORM\n"), "!too small"},
        {"eleven bytes", Bytes(11), "!too small"},
        {"foreign", B().FormCode("RIFF"), "!RIFF"},
        {"mixed case", B().FormCode("Form"), "!Form"},
        {"lower case", B("8SVX").FormCode("form"), "form 4 8SVX, ."},
        {"form only", B(), "4, ."},
        {"form of 3", B().FormSize(3), "3, odd, ."},
        {"form of 0", B().FormSize(0), "0, total, ."},
        {"form of 0, chunks", tail(0, 0), "0, extra, total, ."},
        {"tail", tail(22, 10), "22, extra, AAAA 10/10@12, ."},
        {"odd", B().Chunk("AAAA", seven).Chunk("BBBB", {}), "28, AAAA 7/16@12, BBBB 0/0@28, ."},
        {"odd, last, no pad", unpadded, "19, odd, AAAA 7/7@12, ."},
        {"even form", B(unpadded).FormSize(20), "20, extra, AAAA 7/8@12, ."},
        {"form past the file", tail(122, 0), "122, extra, AAAA 10/110@12, total, ."},
        {"past file", claim("AAAA", 50, 122),
         "122, extra, AAAA 50/110@12, !past file, cut 10, total, ."},
        {"tag", claim("ID3 ", 50, 122),
         "122, extra, ID3  50/110@12, tag past file, cut 10, total, ."},
        {"id3", claim("id3 ", 50, 122), "122, extra, id3  50/110@12, !past file, cut 10, total, ."},
        {"past form", claim("AAAA", 14, 22).Tail(ten),
         "22, extra, AAAA 14/10@12, past form, cut 10, ."},
        {"past both", claim("AAAA", 0xFFFFFFFF, 42),
         "42, extra, AAAA 4294967295/30@12, past form, cut 30, ."},
        {"cut to nothing", B().Chunk("AAAA", {}, 1), "12, AAAA 1/0@12, past form, cut 0, ."},
        {"cut, odd", B().Chunk("AAAA", seven, 9, false),
         "19, odd, AAAA 9/7@12, past form, cut 7, ."},
        {"torn, little left", tail(34, 10), "34, extra, AAAA 10/22@12,  0/4@30, total, ."},
        {"torn", tail(40, 5), "40, extra, AAAA 10/28@12, !torn, total, ."},
        {"at the form's end", tail(30, 5), "30, extra, AAAA 10/18@12, total, ."},
        {"header too", tail(26, 10), "26, extra, AAAA 10/14@12,  0/0@30, total, ."},
        {"code with a zero", B().Chunk(std::string("A\0BC", 4), {}), "12, A 0/0@12, ."}};
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

} // namespace
