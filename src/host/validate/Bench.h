// SPDX-License-Identifier: MIT

// What a check works with: the plug-in, the samples that it decodes, and a place for findings.
#pragma once

#include "host/session/TagBlob.h"
#include "host/validate/Findings.h"
#include "host/validate/Instance.h"
#include "host/validate/ProcessState.h"
#include "host/validate/SampleFolder.h"

#include <algorithm>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace aiff::host::validate
{

// Why checks that need a sample are skipped.
inline constexpr char kNoSamples[] =
    "there is no file that it decodes: name a folder of some with --samples";

// What one run of a check is given.
struct BenchSetup {
    std::string plugin;                // path
    std::string sampleFolder;          // see FillSampleFolder
    std::string scratchFolder;         // empty, for files of the check
    ProcessState before;               // of the process, before the plug-in is loaded
    int standardOutputs[2] = {-1, -1}; // files that receive what is written there
};

// All sound of a file, decoded from start to end.
struct Sound {
    bool isOpened = false;
    STQvAudioInfo info = {};
    Bytes samples;
    std::string problem; // why it is not whole

    size_t FrameSize() const { return std::max<size_t>(info.WaveFormat.nBlockAlign, 1); } // bytes
    int64_t Frames() const { return static_cast<int64_t>(samples.size() / FrameSize()); }
};

class Bench
{
public:
    explicit Bench(BenchSetup setup) : m_setup(std::move(setup)) {}

    const BenchSetup& Setup() const { return m_setup; }
    Findings findings;

    // Loads the plug-in. False when it cannot be used, for which `why` is the reason.
    bool Load(std::string& why);
    void Unload() { m_codec.reset(); }
    const codecs::DecoderFunctions& Functions() const { return m_codec->Functions(); }

    // The file name extensions that the plug-in lists, with their dots, in lower case.
    std::vector<std::wstring> Extensions() const;
    // The files whose extension it lists.
    std::vector<Sample> ListedSamples() const;
    // Those of them that it opens and decodes to their end.
    const std::vector<Sample>& Samples();
    // A few of them, generated and own, for checks that take long.
    std::vector<Sample> FewSamples();
    // What a fresh instance gives, decoded once. Valid as long as the bench.
    const Sound& SoundOf(const Sample& sample);

    // The path of a file that is not there yet.
    std::string NewPath(const std::string& name);
    std::string CopyOf(const Sample& sample);

    // Whether `bytes` are those of the sample's sound from `frame` on, as many as there are.
    bool RequireSound(const Bytes& bytes, const Sample& sample, int64_t frame,
                      const std::string& situation);
    // Whether decoding the file gives the sample's sound.
    bool RequireSameSound(const std::string& path, const Sample& sample,
                          const std::string& situation);

private:
    BenchSetup m_setup;
    std::shared_ptr<const codecs::Codec> m_codec;
    std::optional<std::vector<Sample>> m_samples;
    std::map<std::string, Sound> m_sounds;
    int m_newPaths = 0;
};

// Opens a file in a fresh instance and decodes it.
Sound Decode(const codecs::DecoderFunctions& functions, const std::string& path);

// The milliseconds of so many bytes or frames, truncated.
int64_t TimeOf(int64_t count, uint32_t countPerSecond);
// Whether two times differ by rounding at most.
bool IsNear(int64_t milliseconds, int64_t other);

Bytes FileContent(const std::string& path);
bool WriteFile(const std::string& path, const Bytes& content);

// Where two blocks of bytes differ, in words; empty when they are equal.
std::string Difference(const Bytes& seen, const Bytes& required);

} // namespace aiff::host::validate
