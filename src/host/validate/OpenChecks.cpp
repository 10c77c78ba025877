// SPDX-License-Identifier: MIT

// Opening files: good ones, damaged ones, and what is none.

#include "host/base/Printable.h"
#include "host/validate/Bench.h"
#include "host/validate/Checks.h"
#include "host/validate/RecordFields.h"
#include "support/text/XStr.h"

#include <algorithm>
#include <filesystem>
#include <map>

namespace fs = std::filesystem;

namespace aiff::host::validate
{
namespace
{

// Opens a file of any content and decodes what can be decoded of it.
void RequireReturns(Bench& bench, const std::string& path, const std::string& name)
{
    constexpr size_t kEnough = size_t{16} << 20; // bytes
    Instance instance(bench.Functions());
    const int32_t opened = instance.Open(path, kAllFlags);
    bench.findings.Require(opened == 0 || opened == 1,
                           name + ": Open returns " + std::to_string(opened), "0 or 1");
    int emptyBlocks = 0;
    for (size_t size = 0; opened == 1 && size < kEnough && emptyBlocks < 1000;) {
        if (instance.DecodeBlock() != 1)
            break;
        const STQvAudioBlock block = instance.block.Value();
        if (!bench.findings.Require(block.nDataSize <= kMaxBlockSize,
                                    name + ": a block of " + std::to_string(block.nDataSize),
                                    "at most 65536 bytes"))
            break;
        size += instance.Samples().size();
        emptyBlocks += block.nDataSize == 0;
        if (block.nLastBlock != 0)
            break;
    }
    bench.findings.Require(instance.Close() == 1, name + ": Close does not return 1", "1");
}

// What Open may fill in when it is given these flags.
FieldNames FieldsOf(uint32_t flags)
{
    FieldNames fields;
    if ((flags & (QV_OPEN_PREPARE_DECODE | QV_OPEN_AUDIO_INFO)) != 0)
        fields = {"WaveFormat", "AudioInfo.nBitRate", "AudioInfo.nLengthMS",
                  "AudioInfo.nLengthBytes"};
    if ((flags & QV_OPEN_READ_TAGS) != 0)
        fields.insert({"pTagData", "nTagDataSize"});
    if ((flags & QV_OPEN_PROPERTIES) != 0)
        fields.insert({"pPropertiesData", "nPropertiesDataSize"});
    return fields;
}

void RequireFlags(Bench& bench, const Sample& sample, uint32_t flags)
{
    const std::string name = sample.name + " with flags " + std::to_string(flags);
    Instance instance(bench.Functions());
    const XStr path = FromPathBytes(sample.path);
    AnnounceCall("Open of " + name);
    if (!bench.findings.Require(instance.OpenName(path.c_str(), flags, kPattern) == 1,
                                name + ": Open fails", "1, as with other flags"))
        return;
    Guarded<STQvOpenDecoder> before(kPattern);
    before->pFileName = path.c_str();
    before->nFlags = flags;
    const STQvOpenDecoder after = instance.open.Value();
    const std::string changed = ChangedFields(before.Value(), after, FieldsOf(flags));
    bench.findings.Require(changed.empty(), name + ": Open changes " + changed,
                           "only what the flags ask for changes");
    bench.findings.Require(instance.open.IsIntact(), name + ": Open writes outside its record",
                           "nothing outside changes");
    const bool asksForFormat = FieldsOf(flags).contains("WaveFormat");
    bench.findings.Require(!asksForFormat || after.AudioInfo.WaveFormat.nFormatTag == QV_FORMAT_PCM,
                           name + ": no audio information", "what the flags ask for");
}

// Whether the numbers of an audio information agree with each other.
void RequireConsistent(Bench& bench, const std::string& name, const STQvAudioInfo& info)
{
    const STQvWaveFormat& format = info.WaveFormat;
    const auto require = [&](bool holds, const char* field, int64_t value, const char* required) {
        bench.findings.Require(holds, name + ": " + field + " is " + std::to_string(value),
                               required);
    };
    const uint32_t bytesPerSecond = format.nAvgBytesPerSec;
    require(format.nFormatTag == QV_FORMAT_PCM, "nFormatTag", format.nFormatTag, "1, for PCM");
    require(format.nChannels > 0, "nChannels", format.nChannels, "at least 1");
    require(format.nSamplesPerSec > 0, "nSamplesPerSec", format.nSamplesPerSec, "at least 1");
    require(format.nExtraSize == 0, "nExtraSize", format.nExtraSize, "0");
    require(format.nBitsPerSample % 8 != 0 ||
                format.nBlockAlign == format.nChannels * format.nBitsPerSample / 8,
            "nBlockAlign", format.nBlockAlign, "the bytes of a sample frame");
    require(bytesPerSecond == uint64_t{format.nSamplesPerSec} * format.nBlockAlign,
            "nAvgBytesPerSec", bytesPerSecond, "nSamplesPerSec times nBlockAlign");
    require(info.nBitRate == uint32_t{bytesPerSecond * 8}, "nBitRate", info.nBitRate,
            "8 times nAvgBytesPerSec");
    require(info.nLengthMS == TimeOf(info.nLengthBytes, bytesPerSecond), "nLengthMS",
            info.nLengthMS, "the milliseconds of nLengthBytes, truncated");
}

// The contents with one thing changed, as damaged files have it.
std::vector<std::pair<std::string, Bytes>> Damaged(const Bytes& content)
{
    std::vector<std::pair<std::string, Bytes>> files;
    for (const size_t size : {size_t{0}, size_t{4}, size_t{11}, size_t{12}, size_t{19}, size_t{38},
                              size_t{46}, size_t{54}, content.size() / 2, content.size() - 1}) {
        if (size < content.size())
            files.emplace_back(
                "cut off after " + Counted(static_cast<int64_t>(size), "byte"),
                Bytes(content.begin(), content.begin() + static_cast<ptrdiff_t>(size)));
    }
    constexpr size_t kHeaderSize = 80; // most of what is read of a file but its sound
    for (size_t i = 0; i < std::min(content.size(), kHeaderSize); i += 2) {
        for (const uint8_t value : {uint8_t{0}, uint8_t{0x7F}, uint8_t{0xFF}}) {
            Bytes changed = content;
            changed[i] = value;
            files.emplace_back("with " + std::to_string(value) + " at byte " + std::to_string(i),
                               std::move(changed));
        }
    }
    return files;
}

} // namespace

void CheckMissingFiles(Bench& bench)
{
    const std::string missing = bench.NewPath("missing.aiff");
    const std::vector<std::pair<const char*, std::string>> names = {
        {"an empty name", ""},
        {"a missing file", missing},
        {"a file in a missing folder", missing + "/a.aiff"},
        {"a folder", bench.Setup().scratchFolder},
        {"a stream that no server gives", "http://127.0.0.1:1/a.aiff"},
    };
    const auto requireRefused = [&bench](const char* what, auto open) {
        Instance instance(bench.Functions());
        const int32_t result = open(instance);
        bench.findings.Require(
            result == 0, std::string("Open of ") + what + " returns " + std::to_string(result),
            "0");
        bench.findings.Require(instance.Close() == 1,
                               std::string("Close after Open of ") + what + " fails", "1");
    };
    for (const auto& [what, name] : names) {
        for (const uint32_t flags : {0u, kAllFlags})
            requireRefused(
                what, [&, path = name](Instance& instance) { return instance.Open(path, flags); });
    }
    AnnounceCall("Open of a null name");
    requireRefused("a null name", [](Instance& instance) {
        return instance.OpenName(nullptr, QV_OPEN_PREPARE_DECODE);
    });
    bench.findings.Require(!fs::exists(missing), "Open makes the file", "no file");
}

void CheckExternalPackets(Bench& bench)
{
    std::vector<Sample> samples = bench.ListedSamples();
    const std::string path = samples.empty() ? bench.NewPath("missing") : samples.front().path;
    for (const uint32_t flags : {0u, kAllFlags}) {
        Instance instance(bench.Functions());
        bench.findings.Require(instance.Open(path, flags | QV_OPEN_EXTERNAL_PACKETS) == 0,
                               "Open succeeds", "0");
    }
}

void CheckClosing(Bench& bench)
{
    Instance instance(bench.Functions());
    const auto requireClose = [&](const char* when) {
        bench.findings.Require(instance.Close() == 1, std::string("Close fails ") + when, "1");
    };
    requireClose("before any Open");
    instance.Open(bench.NewPath("missing"), QV_OPEN_PREPARE_DECODE);
    requireClose("after a failed Open");
    requireClose("the second time");
    for (const Sample& sample : bench.FewSamples()) {
        instance.Open(sample.path, QV_OPEN_PREPARE_DECODE);
        requireClose("after Open");
        requireClose("the second time");
    }
    bench.findings.Require(instance.Destroy() == 1, "Destroy fails", "1");
}

void CheckGarbage(Bench& bench)
{
    const std::pair<const char*, Bytes> contents[] = {{"an empty file", {}},
                                                      {"a file of one byte", {0}},
                                                      {"zeros", Bytes(5000)},
                                                      {"noise", Noise(100000)}};
    std::vector<std::wstring> extensions = bench.Extensions();
    extensions.push_back(L"");
    for (const std::wstring& extension : extensions) {
        for (const auto& [what, content] : contents) {
            const std::string path = bench.NewPath("garbage" + ToUtf8(extension));
            if (WriteFile(path, content))
                RequireReturns(bench, path, what + std::string(" as ") + ToUtf8(extension));
        }
    }
}

void CheckOpening(Bench& bench)
{
    std::map<std::string, bool> isOpened; // by extension
    std::vector<std::string> refused;
    for (const Sample& sample : bench.ListedSamples()) {
        const Sound sound = Decode(bench.Functions(), sample.path);
        const bool isGood = sound.problem.empty();
        isOpened[fs::path(sample.path).extension().string()] |= isGood;
        if (!isGood)
            refused.push_back(sample.name + ": " + sound.problem);
        bench.findings.Require(isGood || sample.generated == nullptr || !sound.isOpened,
                               sample.name + ": " + sound.problem,
                               "what can be opened is decoded to its end");
    }
    if (isOpened.empty())
        return bench.findings.Skip(kNoSamples);
    for (const auto& [extension, isGood] : isOpened)
        bench.findings.Require(isGood, "no " + extension + " file can be decoded",
                               "some can, as the extension is listed");
    for (const std::string& file : refused)
        bench.findings.Note(file);
}

void CheckFlags(Bench& bench)
{
    for (const Sample& sample : bench.FewSamples()) {
        for (uint32_t flags = 0; flags <= kAllFlags; ++flags) {
            if ((flags & QV_OPEN_EXTERNAL_PACKETS) == 0)
                RequireFlags(bench, sample, flags);
        }
    }
}

void CheckFormat(Bench& bench)
{
    for (const Sample& sample : bench.Samples()) {
        const STQvAudioInfo& info = bench.SoundOf(sample).info;
        RequireConsistent(bench, sample.name, info);
        for (const uint32_t flags : {uint32_t{QV_OPEN_AUDIO_INFO}, kAllFlags}) {
            Instance instance(bench.Functions());
            instance.Open(sample.path, flags);
            const STQvAudioInfo other = instance.open->AudioInfo;
            bench.findings.Require(std::memcmp(&info, &other, sizeof info) == 0,
                                   sample.name + ": flags " + std::to_string(flags) +
                                       " give other audio information",
                                   "the same as with QV_OPEN_PREPARE_DECODE");
        }
    }
    bench.findings.Note(Counted(std::ssize(bench.Samples()), "file"));
}

void CheckFileNames(Bench& bench)
{
    const Sample& sample = bench.Samples().front();
    for (const char* name : {"with blanks and 'quotes'", "\xC3\xBC\xE6\x97\xA5", "\xF0\x9D\x84\x9E",
                             "raw \xFF\xFE bytes", "%s%n"}) {
        const std::string path = bench.NewPath(name + fs::path(sample.path).extension().string());
        if (!WriteFile(path, FileContent(sample.path))) {
            bench.findings.Note("the file system has no name \"" + std::string(name) + "\"");
            continue;
        }
        bench.RequireSameSound(path, sample, "named " + Printable(name));
    }
}

void CheckDamagedFiles(Bench& bench)
{
    constexpr size_t kMaxSize = size_t{1} << 20; // bytes; larger files take too long
    int count = 0;
    for (const Sample& sample : bench.FewSamples()) {
        const Bytes content = FileContent(sample.path);
        if (content.size() > kMaxSize)
            continue;
        const std::string path = bench.NewPath(sample.name);
        for (const auto& [damage, damaged] : Damaged(content)) {
            const std::string name = sample.name + " " + damage;
            AnnounceCall(name);
            if (!WriteFile(path, damaged))
                return bench.findings.Skip("files cannot be written");
            RequireReturns(bench, path, name);
            ++count;
        }
    }
    bench.findings.Note(Counted(count, "damaged file"));
}

void CheckInputsUnchanged(Bench& bench)
{
    for (const Sample& sample : bench.FewSamples()) {
        const std::string path = bench.CopyOf(sample);
        const fs::file_time_type time = fs::last_write_time(path);
        RequireReturns(bench, path, sample.name);
        bench.findings.Require(FileContent(path) == FileContent(sample.path) &&
                                   fs::last_write_time(path) == time,
                               sample.name + " has changed", "content and time stay as they are");
    }
}

} // namespace aiff::host::validate
