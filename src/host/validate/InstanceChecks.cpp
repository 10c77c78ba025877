// SPDX-License-Identifier: MIT

// What an instance keeps to itself.

#include "host/validate/Bench.h"
#include "host/validate/Checks.h"
#include "support/text/XStr.h"

#include <algorithm>
#include <deque>
#include <thread>

namespace aiff::host::validate
{
namespace
{

// An instance in the middle of a sample.
struct Reader {
    Reader(const Bench& bench, const Sample& ofSample)
        : instance(bench.Functions()), sample(ofSample)
    {
    }

    Instance instance;
    const Sample& sample;
    size_t position = 0; // bytes
    bool isDone = false;
};

// Decodes one block and compares it.
void Step(Bench& bench, Reader& reader)
{
    const Sound& sound = bench.SoundOf(reader.sample);
    const bool isDecoded = reader.instance.DecodeBlock() == 1;
    const Bytes samples = isDecoded ? reader.instance.Samples() : Bytes();
    reader.isDone = !isDecoded || reader.instance.block->nLastBlock != 0 || samples.empty();
    const bool isSame = bench.RequireSound(
        samples, reader.sample, static_cast<int64_t>(reader.position / sound.FrameSize()),
        "among other instances");
    reader.position += samples.size();
    if (reader.isDone && isSame)
        bench.findings.Require(reader.position == sound.samples.size(),
                               reader.sample.name + ": it ends after byte " +
                                   std::to_string(reader.position),
                               "all of it, as without other instances");
}

// The thread's own work: no findings, which belong to one thread.
void DecodeOften(const codecs::DecoderFunctions& functions, const std::vector<Sample>& samples,
                 size_t first, std::vector<Sound>& sounds)
{
    constexpr size_t kTimes = 3;
    for (size_t i = 0; i < kTimes * samples.size(); ++i)
        sounds.push_back(Decode(functions, samples[(first + i) % samples.size()].path));
}

} // namespace

void CheckHostMemory(Bench& bench)
{
    for (const Sample& sample : bench.FewSamples()) {
        Guarded<STNStdReport> report;
        Instance instance(bench.Functions(), report.Pointer());
        report.Fill(kPattern);
        XStr name = FromPathBytes(sample.path);
        instance.OpenName(name.c_str(), QV_OPEN_PREPARE_DECODE | QV_OPEN_READ_TAGS);
        std::ranges::fill(name, L'?');
        instance.open.Fill(kPattern);
        Bytes decoded;
        for (bool isLast = false; !isLast;) {
            if (!bench.findings.Require(instance.DecodeBlock() == 1,
                                        sample.name + ": DecodeBlock fails", "1"))
                break;
            const Bytes samples = instance.Samples();
            decoded.insert(decoded.end(), samples.begin(), samples.end());
            isLast = instance.block->nLastBlock != 0;
            instance.block.Fill(kPattern);
        }
        const std::string difference = Difference(decoded, bench.SoundOf(sample).samples);
        bench.findings.Require(difference.empty(), sample.name + ": " + difference,
                               "the samples, although the host's memory has changed");
    }
}

void CheckReopening(Bench& bench)
{
    for (const Sample& sample : bench.Samples()) {
        Instance instance(bench.Functions());
        for (const bool closes : {false, true, false}) {
            const std::string situation =
                sample.name + ", opened again " + (closes ? "after Close" : "without Close");
            if (!bench.findings.Require(instance.Open(sample.path, QV_OPEN_PREPARE_DECODE) == 1,
                                        situation + ": Open fails", "1"))
                break;
            const std::string difference =
                Difference(instance.DecodeRest().samples, bench.SoundOf(sample).samples);
            bench.findings.Require(difference.empty(), situation + ": " + difference,
                                   "the same samples");
            instance.Open(sample.path, QV_OPEN_PREPARE_DECODE);
            instance.DecodeBlock(); // leaves it in the middle
            if (closes)
                instance.Close();
        }
    }
}

void CheckInterleaving(Bench& bench)
{
    constexpr size_t kInstances = 48;
    constexpr int kRounds = 100;
    const std::vector<Sample>& samples = bench.Samples();
    std::deque<Reader> readers;
    for (size_t i = 0; i < kInstances; ++i) {
        const Sample& sample = samples[i % samples.size()];
        readers.emplace_back(bench, sample);
        bench.findings.Require(
            readers.back().instance.Open(sample.path, QV_OPEN_PREPARE_DECODE) == 1,
            sample.name + ": Open fails with " + std::to_string(i) + " instances open", "1");
    }
    for (int round = 0; round < kRounds; ++round) {
        for (Reader& reader : readers) {
            if (!reader.isDone)
                Step(bench, reader);
        }
    }
}

void CheckThreads(Bench& bench)
{
    const std::vector<Sample> samples = bench.FewSamples();
    std::vector<Sound> sounds[2];
    std::vector<std::thread> threads;
    for (size_t i = 0; i < std::size(sounds); ++i)
        threads.emplace_back([&, i] { DecodeOften(bench.Functions(), samples, i, sounds[i]); });
    for (std::thread& thread : threads)
        thread.join();
    for (size_t thread = 0; thread < std::size(sounds); ++thread) {
        for (size_t i = 0; i < sounds[thread].size(); ++i) {
            const Sample& sample = samples[(thread + i) % samples.size()];
            const Sound& sound = sounds[thread][i];
            const std::string difference = Difference(sound.samples, bench.SoundOf(sample).samples);
            bench.findings.Require(difference.empty(),
                                   sample.name + " on a thread: " + difference +
                                       (sound.problem.empty() ? "" : ", " + sound.problem),
                                   "the same samples as on one thread");
        }
    }
    Instance instance(bench.Functions());
    instance.Open(samples.front().path, QV_OPEN_PREPARE_DECODE);
    Instance::Rest rest;
    std::thread([&] { rest = instance.DecodeRest(); }).join();
    const std::string difference = Difference(rest.samples, bench.SoundOf(samples.front()).samples);
    bench.findings.Require(difference.empty(),
                           "an instance that another thread has opened: " + difference,
                           "the samples: an instance belongs to no thread");
}

} // namespace aiff::host::validate
