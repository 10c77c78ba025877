// SPDX-License-Identifier: MIT
#include "host/validate/Bench.h"

#include "host/base/Printable.h"
#include "support/SaturatingMath.h"
#include "support/text/XStr.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace fs = std::filesystem;

namespace aiff::host::validate
{
namespace
{

constexpr size_t kFewSamples = 6;

bool IsListed(const std::string& path, const std::vector<std::wstring>& extensions)
{
    const std::wstring extension = FoldCase(FromPathBytes(fs::path(path).extension().string()));
    return std::ranges::find(extensions, extension) != extensions.end();
}

} // namespace

bool Bench::Load(std::string& why)
{
    AnnounceCall("loading the library");
    m_codec = codecs::Codec::Load(m_setup.plugin, why);
    return m_codec != nullptr;
}

std::vector<std::wstring> Bench::Extensions() const
{
    constexpr uint32_t kMaxItems = 256; // a list that goes on has no end
    std::vector<std::wstring> extensions;
    Instance instance(Functions());
    for (uint32_t i = 0; i < kMaxItems && instance.Get(QV_KEY_DECODES, i) == 1; ++i) {
        if (instance.getSet->pText1 != nullptr)
            extensions.push_back(FoldCase(instance.getSet.Value().pText1));
    }
    return extensions;
}

std::vector<Sample> Bench::ListedSamples() const
{
    const std::vector<std::wstring> extensions = Extensions();
    std::vector<Sample> samples = SamplesIn(m_setup.sampleFolder);
    std::erase_if(samples, [&](const Sample& file) { return !IsListed(file.path, extensions); });
    return samples;
}

const std::vector<Sample>& Bench::Samples()
{
    if (!m_samples) {
        m_samples = ListedSamples();
        std::erase_if(*m_samples, [&](const Sample& sample) {
            const Sound& sound = m_sounds[sample.path] = Decode(Functions(), sample.path);
            return !sound.problem.empty();
        });
    }
    return *m_samples;
}

std::vector<Sample> Bench::FewSamples()
{
    std::vector<Sample> few;
    std::vector<Sample> left = Samples();
    const auto own = std::stable_partition(
        left.begin(), left.end(), [](const Sample& file) { return file.generated != nullptr; });
    const auto generated = static_cast<size_t>(own - left.begin());
    // Some of each, as far as there are any.
    for (size_t i = 0; few.size() < std::min(kFewSamples, left.size()); ++i) {
        if (i < generated)
            few.push_back(left[i]);
        if (generated + i < left.size())
            few.push_back(left[generated + i]);
    }
    return few;
}

const Sound& Bench::SoundOf(const Sample& sample)
{
    return m_sounds.at(sample.path);
}

std::string Bench::NewPath(const std::string& name)
{
    return m_setup.scratchFolder + "/" + std::to_string(++m_newPaths) + "-" + name;
}

std::string Bench::CopyOf(const Sample& sample)
{
    std::string path = NewPath(sample.name);
    fs::copy_file(sample.path, path);
    return path;
}

bool Bench::RequireSound(const Bytes& bytes, const Sample& sample, int64_t frame,
                         const std::string& situation)
{
    const Sound& sound = SoundOf(sample);
    const size_t start =
        std::min(static_cast<size_t>(frame) * sound.FrameSize(), sound.samples.size());
    const auto first = sound.samples.begin() + static_cast<ptrdiff_t>(start);
    const size_t size = std::min(bytes.size(), sound.samples.size() - start);
    const std::string difference =
        Difference(bytes, Bytes(first, first + static_cast<ptrdiff_t>(size)));
    return findings.Require(difference.empty(), sample.name + ", " + situation + ": " + difference,
                            "the samples that decoding from the start gives there");
}

bool Bench::RequireSameSound(const std::string& path, const Sample& sample,
                             const std::string& situation)
{
    const Sound sound = Decode(Functions(), path);
    if (!findings.Require(sound.problem.empty(),
                          sample.name + ", " + situation + ": " + sound.problem,
                          "it can be decoded as before"))
        return false;
    const std::string difference = Difference(sound.samples, SoundOf(sample).samples);
    return findings.Require(difference.empty(), sample.name + ", " + situation + ": " + difference,
                            "the same samples as before");
}

Sound Decode(const codecs::DecoderFunctions& functions, const std::string& path)
{
    Sound sound;
    Instance instance(functions);
    if (instance.Open(path, QV_OPEN_PREPARE_DECODE) != 1) {
        sound.problem = "Open fails";
        return sound;
    }
    sound.isOpened = true;
    sound.info = instance.open->AudioInfo;
    Instance::Rest rest = instance.DecodeRest();
    sound.samples = std::move(rest.samples);
    sound.problem = std::move(rest.problem);
    return sound;
}

int64_t TimeOf(int64_t count, uint32_t countPerSecond)
{
    constexpr int64_t kMillisecondsPerSecond = 1000;
    return MultiplySaturated(count, kMillisecondsPerSecond) / std::max<int64_t>(countPerSecond, 1);
}

bool IsNear(int64_t milliseconds, int64_t other)
{
    const int64_t difference = SubtractSaturated(milliseconds, other);
    return difference >= -1 && difference <= 1;
}

Bytes FileContent(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

bool WriteFile(const std::string& path, const Bytes& content)
{
    std::ofstream out(path, std::ios::binary);
    out.write(reinterpret_cast<const char*>(content.data()),
              static_cast<std::streamsize>(content.size()));
    return !out.flush().fail();
}

std::string Difference(const Bytes& seen, const Bytes& required)
{
    const auto [a, b] = std::ranges::mismatch(seen, required);
    const auto at = std::to_string(a - seen.begin());
    if (a != seen.end() && b != required.end())
        return "byte " + at + " is " + std::to_string(*a) + ", not " + std::to_string(*b);
    if (seen.size() == required.size())
        return {};
    return Counted(std::ssize(seen), "byte") + " instead of " + std::to_string(required.size());
}

} // namespace aiff::host::validate
