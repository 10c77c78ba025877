// Number fields, sample byte order, and the text of one report line.

#include "aiff/AIFFHandler.h"
#include "aiff/ByteSwap.h"
#include "support/AiffBuilder.h"

#include <array>
#include <gtest/gtest.h>
#include <limits>

namespace
{

using Ten = std::array<uint8_t, 10>;
constexpr int64_t kLowest = std::numeric_limits<int64_t>::min();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

TEST(Numbers, IntegersAreBigEndian)
{
    const auto sizeToInt = [](uint8_t a, uint8_t b) {
        const uint8_t bytes[2] = {a, b};
        return clAIFFHandler::SizeToInt(bytes);
    };
    EXPECT_EQ(sizeToInt(0x01, 0x02), 258);
    EXPECT_EQ(sizeToInt(0xFF, 0xFE), -2);
    EXPECT_EQ(sizeToInt(0x80, 0x00), -32768);
    for (const int64_t value : {0LL, 1LL, 0x01020304LL, 0x80000000LL, 0xFFFFFFFFLL}) {
        uint8_t bytes[4];
        clAIFFHandler::Int64ToSize(value, bytes);
        EXPECT_EQ(Bytes(bytes, bytes + 4), Big(static_cast<uint64_t>(value), 4));
        EXPECT_EQ(clAIFFHandler::SizeToInt64(bytes), value);
    }
    const auto intToSize = [](int value) {
        Bytes bytes(2);
        clAIFFHandler::IntToSize(static_cast<int16_t>(value), bytes.data());
        return bytes;
    };
    EXPECT_EQ(intToSize(258), (Bytes{1, 2}));
    EXPECT_EQ(intToSize(-1), (Bytes{0, 0xFF})); // the quotient is cut toward zero
    EXPECT_EQ(intToSize(-257), (Bytes{0xFF, 0xFF}));
    EXPECT_EQ(intToSize(-32768), (Bytes{0x80, 0}));
    uint8_t bytes[4];
    clAIFFHandler::Int64ToSize(-257, bytes);
    EXPECT_EQ(Bytes(bytes, bytes + 4), (Bytes{0, 0, 0xFF, 0xFF}));
}

TEST(Numbers, ExtendedToInteger)
{
    struct Row {
        Ten bytes;
        int64_t value;
    };
    const Row rows[] = {
        {{0x40, 0x0E, 0xAC, 0x44}, 44100},
        {{0x40, 0x0B, 0xFA, 0x00}, 8000},
        {{0x40, 0x0D, 0xAD, 0xDD, 0x17, 0x45, 0xD1, 0x74, 0x58, 0x00}, 22254},
        {{}, 0},
        {{0x80}, 0},
        {{0xC0, 0x0E, 0xAC, 0x44}, -44100},
        {{0xC0, 0x0D, 0xAD, 0xDD, 0x17, 0x45, 0xD1, 0x74, 0x58, 0x00}, -22254},
        {{0x3F, 0xFF, 0x80}, 1},
        {{0x3F, 0xFE, 0xFF, 0xFF}, 0},
        {{0, 0, 0, 0, 0, 0, 0, 0, 0, 1}, 0}, // denormal
        {{0x40, 0x0E}, 0},                   // no mantissa
        {{0x40, 0x1F, 0xFF, 0xFF, 0xFF, 0xFF, 0x80}, 8589934591},
        {{0x40, 0x3D, 0x80}, 4611686018427387904}, // 2^62
        {{0x40, 0x3E, 0x80}, kLowest},             // 2^63
        {{0xC0, 0x3E, 0x80}, kLowest},
        {{0x7F, 0xFE, 0xFF}, kLowest},
        {{0x7F, 0xFF}, kLowest}, // infinity
        {{0xFF, 0xFF}, kLowest},
        {{0x7F, 0xFF, 0xC0, 0, 0, 0, 0, 0, 0, 1}, kLowest}, // NaN
    };
    for (const Row& row : rows)
        EXPECT_EQ(clAIFFHandler::ConvertFromIeeeExtended(row.bytes.data()), row.value)
            << testing::PrintToString(row.bytes);
}

TEST(Numbers, DoubleToExtended)
{
    struct Row {
        double value;
        Ten bytes;
    };
    const Row rows[] = {
        {0.0, {}},
        {-0.0, {}},
        {44100, {0x40, 0x0E, 0xAC, 0x44}},
        {48000, {0x40, 0x0E, 0xBB, 0x80}},
        {-44100, {0xC0, 0x0E, 0xAC, 0x44}},
        {1.0 / 3, {0x3F, 0xFD, 0xAA, 0xAA, 0xAA, 0xAA, 0xAA, 0xAA, 0xA8, 0}},
        {1e300, {0x43, 0xE3, 0xBF, 0x21, 0xE4, 0x40, 0x03, 0xAC, 0xE0, 0}},
        {5e-324, {0x3B, 0xCD, 0x80}}, // the least double has a normal form
        {kInfinity, {0x7F, 0xFF}},
        {-kInfinity, {0xFF, 0xFF}},
        {std::numeric_limits<double>::quiet_NaN(), {0x7F, 0xFF}},
    };
    for (const Row& row : rows) {
        Ten bytes;
        bytes.fill(0xEE);
        clAIFFHandler::ConvertToIeeeExtended(row.value, bytes.data());
        EXPECT_EQ(bytes, row.bytes) << row.value;
    }
    for (int rate = 1; rate < 1000000; rate = rate * 3 + 1) {
        Ten bytes;
        clAIFFHandler::ConvertToIeeeExtended(rate, bytes.data());
        EXPECT_EQ(Bytes(bytes.begin(), bytes.end()), Extended(rate));
        EXPECT_EQ(clAIFFHandler::ConvertFromIeeeExtended(bytes.data()), rate);
    }
}

TEST(Numbers, CompressionTypes)
{
    const std::pair<const char*, int> rows[] = {
        {"NONE", 1},     {"none", 1},     {"sowt", 12288}, {"SOWT", 12288},
        {"fl32", 3},     {"FL32", 3},     {"fl64", 3},     {"FL64", 3},
        {"alaw", 6},     {"ALAW", 6},     {"ulaw", 7},     {"ULAW", 7},
        {"Sowt", 65535}, {"Fl32", 65535}, {"ima4", 65535}, {"None", 65535}};
    for (const auto& [code, tag] : rows)
        EXPECT_EQ(clAIFFHandler::CompID2WFXFormatTag(FourCC(code)), tag) << code;
}

TEST(Codes, FoldingIsAllOrNothing)
{
    const uint32_t lower = clAIFFHandler::RIFFChnkID("id3 ");
    EXPECT_EQ(lower, 0x20336469u);
    EXPECT_TRUE(clAIFFHandler::CompareID(lower, "ID3 ", true));
    EXPECT_TRUE(clAIFFHandler::CompareID(lower, "iD3 ", true));
    EXPECT_FALSE(clAIFFHandler::CompareID(lower, "ID3 ", false));
    EXPECT_FALSE(clAIFFHandler::CompareID(FourCC("Id3 "), "Id3 ", true));
    EXPECT_TRUE(clAIFFHandler::CompareID(FourCC("Id3 "), "Id3 ", false));
    EXPECT_EQ(clAIFFHandler::RIFFChnkID2CHR(FourCC("FORM")), L"FORM");
}

Bytes Swapped(const Bytes& bytes, int bits)
{
    XMem block;
    EXPECT_TRUE(block.Assign(bytes));
    clAIFFHandler::ByteSwap(block, bits);
    return {block.View().begin(), block.View().end()};
}

TEST(SampleOrder, WholeSamplesOnly)
{
    EXPECT_EQ(Swapped({0x80, 0x00, 0x7F}, 8), (Bytes{0x00, 0x80, 0xFF}));
    EXPECT_EQ(Swapped({1, 2, 3, 4, 5}, 16), (Bytes{2, 1, 4, 3, 5}));
    EXPECT_EQ(Swapped({1, 2, 3, 4, 5}, 24), (Bytes{3, 2, 1, 4, 5}));
    EXPECT_EQ(Swapped({1, 2, 3, 4, 5, 6, 7}, 32), (Bytes{4, 3, 2, 1, 5, 6, 7}));
    for (const int bits : {0, 1, 7, 9, 12, 20, 33, 64, -8})
        EXPECT_EQ(Swapped({1, 2, 3, 4, 5, 6, 7, 8}, bits), (Bytes{1, 2, 3, 4, 5, 6, 7, 8})) << bits;
    EXPECT_EQ(Swapped({}, 16), Bytes());
}

TEST(SampleOrder, EveryKernelEqualsTheReferenceAtAllLengthsAndPlaces)
{
    const ByteSwap::Kernels* avx2 = ByteSwap::Avx2();
    for (const ByteSwap::Kernels* set : {&ByteSwap::Portable(), &ByteSwap::Best(), avx2}) {
        if (set == nullptr)
            continue;
        const ByteSwap::Kernel kernels[] = {set->flipSign8, set->reverse16, set->reverse24,
                                            set->reverse32};
        for (size_t width = 1; width <= 4; ++width)
            for (size_t count = 0; count <= 140; ++count)
                for (size_t place = 0; place < 33; ++place) {
                    const Bytes around = Noise(place + count * width + 40);
                    Bytes bytes = around;
                    kernels[width - 1](bytes.data() + place, count);
                    const auto first = around.begin() + static_cast<ptrdiff_t>(place);
                    const auto end = first + static_cast<ptrdiff_t>(count * width);
                    ASSERT_EQ(bytes,
                              Join({Bytes(around.begin(), first),
                                    HostOrder(Bytes(first, end), static_cast<int>(8 * width)),
                                    Bytes(end, around.end())}))
                        << set->name << " " << width << " " << count << " " << place;
                }
    }
}

TEST(ReportLine, OperationStandsOnFinishedLinesOnly)
{
    EXPECT_EQ(StdReport::GetFinalMsg({L"*** "}, {L"a ", int64_t{-7}}, "Op", true),
              L"*** a -7  [Op]\r\n");
    EXPECT_EQ(StdReport::GetFinalMsg({}, {L"a"}, "Op", false), L"a");
    EXPECT_EQ(StdReport::GetFinalMsg({}, {L"a"}, nullptr, true), L"a\r\n");
}

} // namespace
