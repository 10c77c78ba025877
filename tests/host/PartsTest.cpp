#include "host/TagBlob.h"
#include "host/TimePoint.h"
#include "host/WavHeader.h"
#include "host/WideText.h"

#include <gtest/gtest.h>
#include <memory>
#include <numeric>

namespace
{

std::string TextOf(const std::vector<uint8_t>& bytes, size_t first, size_t count)
{
    return std::string(bytes.begin() + static_cast<ptrdiff_t>(first),
                       bytes.begin() + static_cast<ptrdiff_t>(first + count));
}

uint64_t LittleEndian(const std::vector<uint8_t>& bytes, size_t first, size_t count)
{
    uint64_t value = 0;
    for (size_t i = count; i-- > 0;)
        value = value << 8 | bytes.at(first + i);
    return value;
}

TEST(WideFileName, KeepsEveryByteOfAnyName)
{
    struct Case {
        std::string bytes;
        std::wstring wide;
    };
    const Case cases[] = {
        {"a\xC3\xA9\xE2\x82\xAC\xF0\x9D\x84\x9E", L"a\u00E9\u20AC\U0001D11E"},
        {"\xFF"
         "a\xC3",
         L"\xDCFF"
         L"a\xDCC3"},                                      // never, and cut short
        {"\xC0\xAF", L"\xDCC0\xDCAF"},                     // longer than needed
        {"\xED\xB2\x80", L"\xDCED\xDCB2\xDC80"},           // a surrogate
        {"\xF4\x90\x80\x80", L"\xDCF4\xDC90\xDC80\xDC80"}, // past U+10FFFF
    };
    for (const Case& row : cases)
        EXPECT_EQ(host::WideFileName(row.bytes), row.wide) << row.bytes;
}

TEST(Printable, LeavesNothingThatSteersATerminal)
{
    EXPECT_EQ(host::Printable("a\xC3\xA9\x1B[2J\x7F\xC2\x9B\xFFz"), "a\xC3\xA9?[2J???z");
    EXPECT_EQ(host::Printable("one\rtwo"), "one; two");
}

TEST(TimePoint, ReadsSecondsMinutesAndFrames)
{
    struct Case {
        const char* text;
        int64_t frame; // at 8000 Hz; -1: refused
    };
    const Case cases[] = {
        {"0", 0},
        {"1.5", 12000},
        {"1.5s", 12000},
        {"44100f", 44100},
        {"1:30", 720000},
        {"1:00:00.5", 28804000},
        {"0.00006", 0},
        {"0.00007", 1},
        {"9223372036854775807f", INT64_MAX},
        {"", -1},
        {"f", -1},
        {"s", -1},
        {"-1", -1},
        {"1e3", -1},
        {"1.5f", -1},
        {"1:2:3:4", -1},
        {"9223372036854775808f", -1},
        {"99999999999", -1},
        {"1.", -1},
        {"nan", -1},
        {"0x10f", -1},
        {" 1", -1},
    };
    for (const Case& row : cases) {
        host::TimePoint point;
        const bool read = host::TimePoint::Parse(row.text, point);
        EXPECT_EQ(read, row.frame >= 0) << row.text;
        if (read) {
            EXPECT_EQ(point.Frame(8000), row.frame) << row.text;
        }
    }
}

TEST(TagBlob, ReadsItemsAndStopsAtTheFirstThatDoesNotFit)
{
    const auto text = [](std::string_view ascii) {
        std::string units;
        for (const char c : ascii)
            units += {c, '\0'};
        return units + std::string(2, '\0');
    };
    const auto item = [](const std::string& body) {
        return std::string(1, static_cast<char>(body.size() + 4)) + std::string(3, '\0') + body;
    };
    const std::string picture =
        item(text("_albumart_0_Back Album Cover<subdesc>x") + text("") + "\xFF\xD8\xFF\xE0");
    const std::string whole =
        std::string("\2\0\0\0", 4) + item(text("Title") + text("Abc")) + picture;
    for (size_t size = 0; size <= whole.size(); ++size) {
        // An exact block of its own, so that a sanitizer sees every step outside.
        const auto block = std::make_unique<uint8_t[]>(size);
        std::copy_n(whole.begin(), size, block.get());
        const auto items = host::ReadTagBlob({block.get(), size});
        ASSERT_EQ(items.size(), size == whole.size() ? 2u : size >= whole.size() - picture.size());
        if (!items.empty()) {
            EXPECT_EQ(host::FindValue(items, "Title"), "Abc");
        }
        if (items.size() == 2) {
            EXPECT_TRUE(items[1].IsPicture());
            EXPECT_EQ(items[1].PictureRole(), "Back Album Cover");
            EXPECT_STREQ(host::PictureType(items[1].data), "image/jpeg");
        }
    }
    const uint8_t negative[] = {1, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 0};
    EXPECT_TRUE(host::ReadTagBlob(negative).empty());
}

TEST(WavHeader, SaysTheSizesAlsoBeyondFourGigabytes)
{
    const STQvWaveFormat format{QV_FORMAT_PCM, 1, 44100, 44100, 1, 8, 0, 0, 0, {}};
    struct Case {
        int64_t size;
        bool large;
    };
    for (const auto& [size, large] :
         {Case{0, false}, Case{1, false}, Case{1000, false}, Case{INT64_C(4294960000), false},
          Case{INT64_C(4294967295), true}, Case{INT64_C(1) << 40, true}}) {
        std::string why;
        const std::vector<uint8_t> header = host::WavHeader(format, size, why);
        const size_t length = header.size();
        ASSERT_GE(length, 44u) << why;
        EXPECT_EQ(TextOf(header, 0, 4), large ? "RF64" : "RIFF");
        EXPECT_EQ(TextOf(header, length - 8, 4), "data");
        const uint64_t riffSize = length - 8 + static_cast<uint64_t>(size + size % 2);
        EXPECT_EQ(large ? LittleEndian(header, 20, 8) : LittleEndian(header, 4, 4), riffSize);
        const uint64_t dataSize =
            large ? LittleEndian(header, 28, 8) : LittleEndian(header, length - 4, 4);
        EXPECT_EQ(dataSize, static_cast<uint64_t>(size));
    }
}

TEST(WavHeader, HasOneSizeWhateverTheLengthWhereItIsUnknownAtFirst)
{
    const STQvWaveFormat format{QV_FORMAT_PCM, 2, 44100, 176400, 4, 16, 0, 0, 0, {}};
    std::string why;
    const size_t size = host::RoomyWavHeader(format, host::kUnknownLength, why).size();
    for (const int64_t bytes : {INT64_C(0), INT64_C(4000), INT64_C(1) << 33}) {
        const std::vector<uint8_t> header = host::RoomyWavHeader(format, bytes, why, 100);
        ASSERT_EQ(header.size(), size) << why;
        const bool large = bytes > UINT32_MAX;
        EXPECT_EQ(TextOf(header, 0, 4), large ? "RF64" : "RIFF");
        EXPECT_EQ(TextOf(header, 12, 4), large ? "ds64" : "JUNK");
        const uint64_t riffSize = large ? LittleEndian(header, 20, 8) : LittleEndian(header, 4, 4);
        EXPECT_EQ(riffSize, size - 8 + static_cast<uint64_t>(bytes) + 100);
    }
}

TEST(WavHeader, RefusesWhatNoWavFileHolds)
{
    struct Case {
        STQvWaveFormat format;
        const char* why;
    };
    const Case cases[] = {
        {{QV_FORMAT_PCM, 1, 8000, 8000, 1, 12, 0, 0, 0, {}}, "12 bits"},
        {{QV_FORMAT_PCM, 0, 8000, 8000, 1, 16, 0, 0, 0, {}}, "channels"},
        {{QV_FORMAT_PCM, 40000, 8000, 8000, 14464, 16, 0, 0, 0, {}}, "channels"},
        {{QV_FORMAT_PCM, 2, 0, 8000, 4, 16, 0, 0, 0, {}}, "rate"},
        {{6, 2, 8000, 8000, 2, 8, 0, 0, 0, {}}, "PCM"},
    };
    for (const Case& row : cases) {
        std::string why;
        EXPECT_TRUE(host::WavHeader(row.format, 100, why).empty()) << row.why;
        EXPECT_NE(why.find(row.why), std::string::npos) << why;
    }
}

} // namespace
