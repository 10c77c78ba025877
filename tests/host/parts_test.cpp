// SPDX-License-Identifier: MIT

// Parts of the host and the codec loader that no command line reaches in full.

#include "codecs/CodecLoader.h"
#include "codecs/DecoderInstance.h"
#include "host/base/Printable.h"
#include "host/commands/TimePoint.h"
#include "host/session/TagBlob.h"
#include "host/writers/WavHeader.h"
#include "support/AiffBuilder.h"
#include "support/TempDir.h"

#include <cstring>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <memory>

using namespace aiff;

namespace
{

TEST(Printable, NothingInATextSteersTheTerminal)
{
    const std::pair<std::string, const char*> rows[] = {
        {"", ""},
        {"a\xC3\xA9\xF0\x9F\x98\x80~", "a\xC3\xA9\xF0\x9F\x98\x80~"},
        {"a\rb\nc\r\n", "a; b; c; ; "},
        {"\x1B[2J\t\x7F", "?[2J??"},
        {"\xC2\x80\xC2\x9F\xC2\xA0", "??\xC2\xA0"}, // control characters beyond ASCII
        {"\xE2\x80\xAE\xE2\x81\xA7\xE2\x80\xA8\xE2\x80\xAF", "???\xE2\x80\xAF"}, // directions
        {std::string("a\0b", 3), "a?b"},
        {"\x9B\xE2\x82(\xED\xA0\x80", "???"
                                      "(???"}, // not UTF-8
    };
    for (const auto& [text, line] : rows)
        EXPECT_EQ(host::Printable(text), line);
}

TEST(CodecLoader, LibraryStaysAsLongAsAnInstanceAndGoesWithTheLast)
{
    const auto isLoaded = [] {
        void* library =
            dlopen(FIXTURE_ROOT "/Codecs/Bin/decoder/scripted.so", RTLD_NOW | RTLD_NOLOAD);
        return library != nullptr && dlclose(library) == 0;
    };
    codecs::DecoderInstance instance;
    {
        codecs::CodecLoader loader;
        for (const char* root : {"/nonexistent", FIXTURE_ROOT, FIXTURE_ROOT})
            loader.LoadFrom(root);            // in place of what was there
        EXPECT_EQ(loader.Files().size(), 8u); // of all kinds, usable or not
        ASSERT_EQ(loader.Decoders().size(), 1u);
        EXPECT_EQ(loader.ForExtension(L".FIX"), &loader.Decoders().front());
        EXPECT_EQ(loader.ForExtension(L".fi"), nullptr);
        instance = codecs::DecoderInstance(loader.Decoders().front().codec, STNStdReport{});
    }
    STQvCodecGetSet record{};
    EXPECT_TRUE(instance.Get(QV_KEY_DECODES, record) && isLoaded());
    instance = codecs::DecoderInstance();
    EXPECT_FALSE(instance.Get(QV_KEY_DECODES, record) || isLoaded());
}

TEST(TimePoint, ReadsSecondsMinutesAndFrames)
{
    const std::pair<const char*, int64_t> cases[] = {
        // at 8000 Hz
        {"0", 0},          {"1.5", 12000},   {"1.5s", 12000},
        {"44100f", 44100}, {"1:30", 720000}, {"1:00:00.5", 28804000},
        {"0.00006", 0},    {"0.00007", 1},   {"9223372036854775807f", INT64_MAX},
    };
    for (const auto& [text, frame] : cases) {
        const auto point = host::TimePoint::Parse(text);
        ASSERT_TRUE(point) << text;
        EXPECT_EQ(point->Frame(8000), frame) << text;
    }
    for (const char* text : {"", "f", "s", "-1", "1e3", "1.5f", "1:2:3:4", "9223372036854775808f",
                             "99999999999", "1.", "nan", "0x10f", " 1"})
        EXPECT_FALSE(host::TimePoint::Parse(text)) << text;
}

TEST(TagBlob, ReadsItemsAndStopsAtTheFirstThatDoesNotFit)
{
    const Bytes picture = {0xFF, 0xD8, 0xFF, 0xE0};
    std::vector<host::TagItem> items = {{"Title", "Abc", {}}};
    const Bytes one = *host::MakeTagBlob(items);
    items.push_back({"_albumart_0_Back Album Cover<subdesc>x", "", picture});
    const Bytes whole = *host::MakeTagBlob(items);
    for (size_t size = 0; size <= whole.size(); ++size) {
        // An exact block of its own, so that a sanitizer sees every step outside.
        const auto block = std::make_unique<uint8_t[]>(size);
        std::copy_n(whole.begin(), size, block.get());
        items = host::ReadTagBlob({block.get(), size});
        ASSERT_EQ(items.size(), size == whole.size() ? 2u : size >= one.size());
        if (!items.empty())
            EXPECT_EQ(host::FindValue(items, "Title"), "Abc");
    }
    EXPECT_TRUE(items[1].IsPicture());
    EXPECT_EQ(items[1].PictureRole(), "Back Album Cover");
    EXPECT_STREQ(host::PictureType(picture), "image/jpeg");
    const uint8_t negative[] = {1, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 0};
    EXPECT_TRUE(host::ReadTagBlob(negative).empty());
}

TEST(WavHeader, SaysTheSizesAlsoBeyondFourGigabytesAndHasOneSizeWhereTheyComeLate)
{
    const STQvWaveFormat format{QV_FORMAT_PCM, 1, 44100, 44100, 1, 8, 0, 0, 0, {}};
    const size_t roomySize = host::RoomyWavHeader(format, host::kUnknownLength)->size();
    for (const int64_t size : {0ll, 1ll, 1000ll, 4294960000ll, 4294967295ll, 1ll << 40}) {
        for (const int64_t more : {0, 100}) { // bytes after the samples
            Bytes header = *(more > 0 ? host::RoomyWavHeader(format, size, more)
                                      : host::WavHeader(format, size));
            const bool isLarge = size > 4294960000;
            const size_t length = header.size();
            EXPECT_TRUE(length >= 44 && (more == 0 || length == roomySize)) << length;
            const auto number = [&](size_t at, size_t count) {
                uint64_t value = 0;
                std::memcpy(&value, &header[at], count);
                return static_cast<int64_t>(value);
            };
            const std::string text(header.begin(), header.end());
            EXPECT_EQ(text.substr(0, 4), isLarge ? "RF64" : "RIFF");
            EXPECT_EQ(text.substr(12, 4), isLarge ? "ds64" : more > 0 ? "JUNK" : "fmt ");
            EXPECT_EQ(text.substr(length - 8, 4), "data");
            EXPECT_EQ(isLarge ? number(20, 8) : number(4, 4),
                      static_cast<int64_t>(length) - 8 + size + size % 2 + more);
            EXPECT_EQ(isLarge ? number(28, 8) : number(length - 4, 4), size);
        }
    }
    // More than two channels say for which loudspeakers they are, so that FLAC encoders take them.
    const uint32_t masks[] = {0x7, 0x33, 0x37, 0x3F, 0x70F, 0x63F, 0};
    for (uint16_t channels = 3; channels < 10; ++channels) {
        const auto frame = static_cast<uint16_t>(3 * channels);
        const Bytes header =
            *host::WavHeader({QV_FORMAT_PCM, channels, 8000, 0, frame, 24, 0, 0, 0, {}}, 0);
        const Bytes end = Join({{24, 0}, HostOrder(Big(masks[channels - 3], 4), 32), {1, 0}});
        EXPECT_EQ(Bytes(header.begin() + 16, header.begin() + 22),
                  (Bytes{40, 0, 0, 0, 0xFE, 0xFF}));
        EXPECT_EQ(Bytes(header.begin() + 38, header.begin() + 46), end) << channels;
    }
    const std::pair<STQvWaveFormat, const char*> refused[] = {
        {{QV_FORMAT_PCM, 1, 8000, 8000, 1, 12, 0, 0, 0, {}}, "12 bits"},
        {{QV_FORMAT_PCM, 0, 8000, 8000, 1, 16, 0, 0, 0, {}}, "channels"},
        {{QV_FORMAT_PCM, 40000, 8000, 8000, 14464, 16, 0, 0, 0, {}}, "channels"},
        {{QV_FORMAT_PCM, 2, 0, 8000, 4, 16, 0, 0, 0, {}}, "rate"},
        {{6, 2, 8000, 8000, 2, 8, 0, 0, 0, {}}, "PCM"},
    };
    for (const auto& [wrong, reason] : refused) {
        const std::string why = host::WavHeader(wrong, 100).Why().Text();
        EXPECT_NE(why.find(reason), std::string::npos) << why;
    }
}

} // namespace
