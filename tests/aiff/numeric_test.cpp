// SPDX-License-Identifier: MIT

// Number fields and sample byte order.

#include "aiff/AIFFHandler.h"
#include "aiff/ByteSwap.h"
#include "support/AiffBuilder.h"

#include <gtest/gtest.h>
#include <limits>

using namespace aiff;

namespace
{

using namespace std::string_literals;
using H = clAIFFHandler;

constexpr int64_t kLowest = std::numeric_limits<int64_t>::min();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

// For negative values the quotients are cut toward zero.
TEST(Numbers, IntegersAreWrittenByDivision)
{
    for (const auto& [value, bytes] :
         {std::pair{258, "\1\2"s}, {-1, "\0\xFF"s}, {-257, "\xFF\xFF"s}, {-32768, "\x80\0"s}}) {
        Bytes out(2), wide(4);
        H::IntToSize(static_cast<int16_t>(value), out.data());
        EXPECT_EQ(out, Text(bytes)) << value;
        H::Int64ToSize(value, wide.data());
        EXPECT_EQ(wide, Text("\0\0"s + bytes)) << value;
    }
}

// Ten bytes; those left out are zero.
Bytes Ten(const std::string& text)
{
    Bytes bytes = Text(text);
    bytes.resize(10);
    return bytes;
}

TEST(Numbers, ExtendedToInteger)
{
    using Row = std::pair<std::string, int64_t>;
    const Row rows[] = {
        Row("", 0), Row("\x80", 0), Row("\x3F\xFF\x80", 1), Row("\x3F\xFE\xFF\xFF", 0),
        Row("\x40\x0E\xAC\x44", 44100), Row("\x40\x0D\xAD\xDD\x17\x45\xD1\x74\x58", 22254),
        Row("\x40\x1F\xFF\xFF\xFF\xFF\x80", 8589934591),
        // Without a leading one: a denormal number, and no mantissa.
        Row("\0\0\0\0\0\0\0\0\0\1"s, 0), Row("\x40\x0E", 0),
        // 2^62; what is out of range from 2^63 to infinity and NaN.
        Row("\x40\x3D\x80", 4611686018427387904), Row("\x40\x3E\x80", kLowest),
        Row("\xC0\x3E\x80", kLowest), Row("\x7F\xFE\xFF", kLowest), Row("\x7F\xFF", kLowest),
        Row("\xFF\xFF", kLowest), Row("\x7F\xFF\xC0\0\0\0\0\0\0\1"s, kLowest)};
    for (const auto& [text, value] : rows)
        EXPECT_EQ(H::ConvertFromIeeeExtended(Ten(text).data()), value) << text;
}

TEST(Numbers, DoubleToExtended)
{
    using Row = std::pair<double, std::string>;
    Bytes bytes(10, 0xEE);
    for (const auto& [value, text] :
         {Row(0, ""), Row(kInfinity, "\x7F\xFF"), Row(-44100, "\xC0\x0E\xAC\x44"),
          // Not more than a double holds.
          Row(1.0 / 3, "\x3F\xFD\xAA\xAA\xAA\xAA\xAA\xAA\xA8")}) {
        H::ConvertToIeeeExtended(value, bytes.data());
        EXPECT_EQ(bytes, Ten(text)) << value;
    }
    for (int rate = 1; rate < 1000000; rate = rate * 3 + 1) {
        H::ConvertToIeeeExtended(rate, bytes.data());
        EXPECT_EQ(bytes, Extended(rate));
        EXPECT_EQ(H::ConvertFromIeeeExtended(bytes.data()), rate);
    }
}

TEST(SampleOrder, EveryKernelEqualsTheReferenceAtAllLengthsAndPlaces)
{
#ifdef __aarch64__
    EXPECT_STREQ(ByteSwap::Best().name, "neon");
#endif
    for (const ByteSwap::Kernels* set : {&ByteSwap::Portable(), &ByteSwap::Best()}) {
        const ByteSwap::Kernel kernels[] = {set->flipSign8, set->reverse16, set->reverse24,
                                            set->reverse32};
        for (int width = 1; width <= 4; ++width)
            for (int count = 0; count <= 140; ++count)
                for (int place = 0; place < 33; ++place) {
                    const Bytes around = Noise(static_cast<size_t>(place + count * width + 40));
                    Bytes bytes = around;
                    kernels[width - 1](bytes.data() + place, static_cast<size_t>(count));
                    const auto first = around.begin() + place, end = first + count * width;
                    const Bytes host = HostOrder({first, end}, 8 * width);
                    const Bytes all = Join({{around.begin(), first}, host, {end, around.end()}});
                    ASSERT_EQ(bytes, all) << set->name << width << ' ' << count << ' ' << place;
                }
    }
}

} // namespace
