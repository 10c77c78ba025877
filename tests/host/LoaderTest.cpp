#include "codecs/CodecLoader.h"
#include "codecs/DecoderInstance.h"

#include <algorithm>
#include <cstdlib>
#include <cwchar>
#include <dlfcn.h>
#include <gtest/gtest.h>

namespace
{

const std::string kDecoders = FIXTURE_ROOT "/Codecs/Bin/decoder/";

TEST(CodecLoader, SaysOfEachPluginWhetherAndWhyNotItIsUsable)
{
    struct Case {
        std::string path;
        bool usable;
        const char* problem; // part of it
    };
    const Case cases[] = {
        {kDecoders + "broken.so", false, "file too short"},
        {kDecoders + "endless.so", false, "does not end"},
        {kDecoders + "lacking.so", false, "SetPosition is missing"},
        {kDecoders + "nothing.so", false, "decodes nothing"},
        {kDecoders + "refusing.so", false, "Create failed"},
        {kDecoders + "scripted.so", true, ""},
        {FIXTURE_ROOT "/Codecs/Bin/encoder/encoder.so", false, ""},
        {FIXTURE_ROOT "/Codecs/Bin/dsp/dsp.so", false, ""},
    };
    codecs::CodecLoader loader;
    loader.LoadFrom(FIXTURE_ROOT);
    ASSERT_EQ(loader.Files().size(), std::size(cases));
    for (size_t i = 0; i < std::size(cases); ++i) {
        const codecs::PluginFile& file = loader.Files()[i];
        EXPECT_EQ(file.path, cases[i].path);
        EXPECT_EQ(file.decoder != nullptr, cases[i].usable) << file.path;
        EXPECT_NE(file.problem.find(cases[i].problem), std::string::npos) << file.problem;
        const bool failedDecoder = !cases[i].usable && *cases[i].problem != '\0';
        EXPECT_EQ(file.problem.empty(), !failedDecoder) << file.path << file.problem;
    }
}

TEST(CodecLoader, FindsTheDecoderOfAnExtensionOrMimeTypeInAnyCase)
{
    codecs::CodecLoader loader;
    loader.LoadFrom(FIXTURE_ROOT);
    ASSERT_EQ(loader.Decoders().size(), 1u);
    const codecs::Decoder* decoder = &loader.Decoders().front();
    EXPECT_EQ(decoder->formats.front().extension, L".Fix");
    EXPECT_EQ(decoder->formats.front().name, L"Fixture");
    EXPECT_EQ(loader.ForExtension(L".FIX"), decoder);
    EXPECT_EQ(loader.ForMimeType(L"Audio/X-fixture"), decoder);
    EXPECT_EQ(loader.ForExtension(L".fi"), nullptr);
    EXPECT_EQ(loader.ForMimeType(L".fix"), nullptr);
}

TEST(CodecLoader, LibraryStaysAsLongAsAnInstanceAndGoesWithTheLast)
{
    const std::string path = kDecoders + "scripted.so";
    const auto isLoaded = [&path] {
        void* library = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
        if (library != nullptr)
            dlclose(library);
        return library != nullptr;
    };
    codecs::DecoderInstance instance;
    {
        codecs::CodecLoader loader;
        loader.LoadFrom(FIXTURE_ROOT);
        instance = codecs::DecoderInstance(loader.Decoders().front().codec, STNStdReport{});
    }
    STQvCodecGetSet record{};
    ASSERT_TRUE(instance.Get(QV_KEY_DECODES, record));
    EXPECT_EQ(std::wstring(record.pText1), L".Fix");
    EXPECT_TRUE(isLoaded());
    instance = codecs::DecoderInstance();
    EXPECT_FALSE(isLoaded());
    EXPECT_FALSE(instance.Get(QV_KEY_DECODES, record));
}

TEST(CodecLoader, SearchesOnlyTheFolderTheEnvironmentNames)
{
    setenv(codecs::kCodecPathVariable, FIXTURE_ROOT, 1);
    codecs::CodecLoader loader;
    loader.Load();
    EXPECT_EQ(loader.Root(), FIXTURE_ROOT);
    setenv(codecs::kCodecPathVariable, "/nonexistent", 1);
    loader.Load();
    EXPECT_EQ(loader.Root(), "");
    EXPECT_EQ(loader.SearchedRoots(), std::vector<std::string>{"/nonexistent"});
    EXPECT_TRUE(loader.Files().empty());
    EXPECT_EQ(loader.ForExtension(L".fix"), nullptr);
    unsetenv(codecs::kCodecPathVariable);
    EXPECT_GE(codecs::CandidateRoots().size(), 3u);
}

TEST(Codec, SaysWhenThereIsNoSuchFile)
{
    std::string why;
    EXPECT_EQ(codecs::Codec::Load("/nonexistent/x.so", why), nullptr);
    EXPECT_EQ(why, "there is no such file");
}

} // namespace
