// Number fields, sample byte order, and the text of one report line.

#include "aiff/AIFFHandler.h"
#include "aiff/ByteSwap.h"
#include "support/AiffBuilder.h"

#include <gtest/gtest.h>
#include <limits>

namespace
{

using namespace std::string_literals;
using H = clAIFFHandler;

constexpr int64_t kLowest = std::numeric_limits<int64_t>::min();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

TEST(Numbers, IntegersAreBigEndian)
{
    EXPECT_EQ(H::SizeToInt(Text("\1\2").data()), 258);
    EXPECT_EQ(H::SizeToInt(Text("\xFF\xFE").data()), -2);
    EXPECT_EQ(H::SizeToInt(Text("\x80\0"s).data()), -32768);
    EXPECT_EQ(H::SizeToInt64(Text("\x80\0\0\0"s).data()), 2147483648);
    EXPECT_EQ(H::SizeToInt64(Text("\xFF\xFF\xFF\xFF").data()), 4294967295);
    // For negative values the quotients are cut toward zero.
    for (const auto& [value, bytes] : {std::pair{258, "\1\2"s},
                                       {32767, "\x7F\xFF"s},
                                       {-1, "\0\xFF"s},
                                       {-257, "\xFF\xFF"s},
                                       {-32768, "\x80\0"s}}) {
        Bytes out(2), wide(4);
        H::IntToSize(static_cast<int16_t>(value), out.data());
        EXPECT_EQ(out, Text(bytes)) << value;
        H::Int64ToSize(value, wide.data());
        EXPECT_EQ(wide, Text("\0\0"s + bytes)) << value;
    }
    Bytes out(4);
    H::Int64ToSize(0xFEDCBA98, out.data());
    EXPECT_EQ(out, Text("\xFE\xDC\xBA\x98"));
}

// Bytes left out of a row are zero.
TEST(Numbers, ExtendedToInteger)
{
    const std::pair<std::string, int64_t> rows[] = {
        {"\x40\x0E\xAC\x44", 44100},
        {"\x40\x0D\xAD\xDD\x17\x45\xD1\x74\x58", 22254},
        {"\xC0\x0D\xAD\xDD\x17\x45\xD1\x74\x58", -22254},
        {"", 0},
        {"\x80", 0},
        {"\x3F\xFF\x80", 1},
        {"\x3F\xFE\xFF\xFF", 0},
        {"\0\0\0\0\0\0\0\0\0\1"s, 0}, // denormal
        {"\x40\x0E", 0},              // no mantissa
        {"\x40\x1F\xFF\xFF\xFF\xFF\x80", 8589934591},
        {"\x40\x3D\x80", 4611686018427387904}, // 2^62
        {"\x40\x3E\x80", kLowest},             // 2^63
        {"\xC0\x3E\x80", kLowest},
        {"\x7F\xFE\xFF", kLowest},
        {"\x7F\xFF", kLowest}, // infinity
        {"\xFF\xFF", kLowest},
        {"\x7F\xFF\xC0\0\0\0\0\0\0\1"s, kLowest}, // NaN
    };
    for (const auto& [text, value] : rows) {
        Bytes bytes = Text(text);
        bytes.resize(10);
        EXPECT_EQ(H::ConvertFromIeeeExtended(bytes.data()), value) << testing::PrintToString(bytes);
    }
}

TEST(Numbers, DoubleToExtended)
{
    const std::pair<double, std::string> rows[] = {
        {0.0, ""},
        {-0.0, ""},
        {48000, "\x40\x0E\xBB\x80"},
        {-44100, "\xC0\x0E\xAC\x44"},
        {1.0 / 3, "\x3F\xFD\xAA\xAA\xAA\xAA\xAA\xAA\xA8"},
        {5e-324, "\x3B\xCD\x80"}, // the least double has a normal form
        {kInfinity, "\x7F\xFF"},
        {-kInfinity, "\xFF\xFF"},
        {std::numeric_limits<double>::quiet_NaN(), "\x7F\xFF"},
    };
    for (const auto& [value, text] : rows) {
        Bytes expected = Text(text), bytes(10, 0xEE);
        expected.resize(10);
        H::ConvertToIeeeExtended(value, bytes.data());
        EXPECT_EQ(bytes, expected) << value;
    }
    for (int rate = 1; rate < 1000000; rate = rate * 3 + 1) {
        Bytes bytes(10);
        H::ConvertToIeeeExtended(rate, bytes.data());
        EXPECT_EQ(bytes, Extended(rate));
        EXPECT_EQ(H::ConvertFromIeeeExtended(bytes.data()), rate);
    }
}

TEST(Codes, FoldingIsAllOrNothing)
{
    const uint32_t lower = H::RIFFChnkID("id3 ");
    EXPECT_EQ(lower, 0x20336469u);
    EXPECT_TRUE(H::CompareID(lower, "ID3 ", true));
    EXPECT_TRUE(H::CompareID(lower, "iD3 ", true));
    EXPECT_FALSE(H::CompareID(lower, "ID3 ", false));
    EXPECT_FALSE(H::CompareID(FourCC("Id3 "), "Id3 ", true));
    EXPECT_TRUE(H::CompareID(FourCC("Id3 "), "Id3 ", false));
    EXPECT_EQ(H::RIFFChnkID2CHR(FourCC("FORM")), L"FORM");
}

TEST(SampleOrder, WholeSamplesOnly)
{
    const auto swapped = [](const Bytes& bytes, int bits) {
        XMem block;
        EXPECT_TRUE(block.Assign(bytes));
        H::ByteSwap(block, bits);
        return Bytes(block.View().begin(), block.View().end());
    };
    EXPECT_EQ(swapped({0x80, 0x00, 0x7F}, 8), (Bytes{0x00, 0x80, 0xFF}));
    EXPECT_EQ(swapped({1, 2, 3, 4, 5}, 16), (Bytes{2, 1, 4, 3, 5}));
    EXPECT_EQ(swapped({1, 2, 3, 4, 5}, 24), (Bytes{3, 2, 1, 4, 5}));
    EXPECT_EQ(swapped({1, 2, 3, 4, 5, 6, 7}, 32), (Bytes{4, 3, 2, 1, 5, 6, 7}));
    EXPECT_EQ(swapped({}, 16), Bytes());
    for (const int bits : {0, 1, 7, 9, 12, 20, 33, 64, -8})
        EXPECT_EQ(swapped(Noise(16), bits), Noise(16)) << bits;
}

TEST(SampleOrder, EveryKernelEqualsTheReferenceAtAllLengthsAndPlaces)
{
    for (const ByteSwap::Kernels* set : {&ByteSwap::Portable(), &ByteSwap::Best()}) {
        const ByteSwap::Kernel kernels[] = {set->flipSign8, set->reverse16, set->reverse24,
                                            set->reverse32};
        for (int width = 1; width <= 4; ++width)
            for (int count = 0; count <= 140; ++count)
                for (int place = 0; place < 33; ++place) {
                    const Bytes around = Noise(static_cast<size_t>(place + count * width + 40));
                    Bytes bytes = around;
                    kernels[width - 1](bytes.data() + place, static_cast<size_t>(count));
                    const auto first = around.begin() + place;
                    const auto end = first + count * width;
                    ASSERT_EQ(bytes, Join({{around.begin(), first},
                                           HostOrder({first, end}, 8 * width),
                                           {end, around.end()}}))
                        << set->name << " " << width << " " << count << " " << place;
                }
    }
}

TEST(ReportLine, OperationStandsOnFinishedLinesOnly)
{
    using StdReport::GetFinalMsg;
    EXPECT_EQ(GetFinalMsg({L"*** "}, {L"a ", int64_t{-7}}, "Op", true), L"*** a -7  [Op]\r\n");
    EXPECT_EQ(GetFinalMsg({}, {L"a"}, "Op", false), L"a");
    EXPECT_EQ(GetFinalMsg({}, {L"a"}, nullptr, true), L"a\r\n");
}

} // namespace
