// SPDX-License-Identifier: MIT

// Positions and decode ranges.

#include "host/base/Printable.h"
#include "host/validate/Bench.h"
#include "host/validate/Checks.h"

#include <algorithm>
#include <limits>

namespace aiff::host::validate
{
namespace
{

// Places where decoders go wrong, and others, in no order.
std::vector<int64_t> Positions(const Sound& sound)
{
    const int64_t frames = sound.Frames();
    const int64_t block = int64_t{kMaxBlockSize} / static_cast<int64_t>(sound.FrameSize());
    std::vector<int64_t> positions = {frames - 1, 0, block, 1, block - 1, frames / 2, block + 1, 0};
    uint64_t state = 1;
    for (int i = 0; i < 12; ++i) {
        state = state * 6364136223846793005 + 1442695040888963407;
        positions.push_back(
            static_cast<int64_t>((state >> 33) % static_cast<uint64_t>(frames + 1)));
    }
    std::erase_if(positions, [frames](int64_t at) { return at < 0 || at >= frames; });
    return positions;
}

bool RequireSeek(Bench& bench, Instance& instance, const std::string& name, int64_t frame)
{
    return bench.findings.Require(instance.SetPosition(frame) == 1,
                                  name + ": SetPosition to frame " + std::to_string(frame) +
                                      " fails",
                                  "1, as for every file");
}

// The instance is at its end: a block without audio, marked last.
void RequireEnd(Bench& bench, Instance& instance, const std::string& name)
{
    const bool isDecoded = instance.DecodeBlock() == 1;
    bench.findings.Require(
        isDecoded && instance.block->nLastBlock == 1 && instance.block->nDataSize == 0,
        name + (isDecoded ? ": more audio" : ": DecodeBlock fails"), "a last block without audio");
}

void RequireTime(Bench& bench, Instance& instance, const Sample& sample, int64_t frame)
{
    const int64_t time = TimeOf(frame, bench.SoundOf(sample).info.WaveFormat.nSamplesPerSec);
    const int64_t seen = instance.block->nPositionMS;
    bench.findings.Require(IsNear(seen, time),
                           sample.name + ": nPositionMS at frame " + std::to_string(frame) +
                               " is " + std::to_string(seen),
                           std::to_string(time));
}

// Reads the frames from `first` to before `end`, as a host asks for them.
void RequireRange(Bench& bench, const Sample& sample, int64_t first, int64_t end)
{
    const Sound& sound = bench.SoundOf(sample);
    const auto frameSize = static_cast<int64_t>(sound.FrameSize());
    const int64_t from = std::min(first, sound.Frames());
    const int64_t to = end == QV_RANGE_TO_END ? sound.Frames() : std::min(end, sound.Frames());
    const int64_t length = std::max<int64_t>(to - from, 0) * frameSize; // bytes
    const std::string range = "range " + std::to_string(first) + " to " + std::to_string(end);

    Instance instance(bench.Functions());
    instance.SetRange(first, end);
    if (!bench.findings.Require(instance.Open(sample.path, QV_OPEN_PREPARE_DECODE) == 1,
                                sample.name + ", " + range + ": Open fails", "1"))
        return;
    // The sound may end within a frame, which an end past it includes.
    const int64_t slack = end > sound.Frames() ? frameSize - 1 : 0;
    const int64_t told = instance.open->AudioInfo.nLengthBytes;
    bench.findings.Require(told >= length && told <= length + slack,
                           sample.name + ", " + range + ": nLengthBytes is " + std::to_string(told),
                           std::to_string(length));
    Instance::Rest rest = instance.DecodeRest();
    const auto size = static_cast<int64_t>(rest.samples.size());
    bench.findings.Require(rest.problem.empty() && size >= length && size <= length + slack,
                           sample.name + ", " + range + ": " + Counted(size, "byte"),
                           std::to_string(length));
    rest.samples.resize(static_cast<size_t>(std::min(size, length)));
    bench.RequireSound(rest.samples, sample, from, range);
    if (length < 2 * frameSize)
        return;
    const int64_t middle = (to - from) / 2;
    if (!RequireSeek(bench, instance, sample.name + ", " + range, middle) ||
        instance.DecodeBlock() != 1)
        return;
    bench.RequireSound(instance.Samples(), sample, from + middle, "a position in the " + range);
    RequireTime(bench, instance, sample, middle);
    RequireSeek(bench, instance, sample.name + ", " + range, to - from + frameSize);
    RequireEnd(bench, instance, sample.name + ", after the end of the " + range);
}

} // namespace

void CheckSeeking(Bench& bench)
{
    int64_t count = 0;
    for (const Sample& sample : bench.Samples()) {
        Instance instance(bench.Functions());
        instance.Open(sample.path, QV_OPEN_PREPARE_DECODE);
        for (const int64_t frame : Positions(bench.SoundOf(sample))) {
            if (!RequireSeek(bench, instance, sample.name, frame))
                break;
            const std::string place = "frame " + std::to_string(frame);
            const bool isGood = instance.DecodeBlock() == 1 && !instance.Samples().empty();
            bench.findings.Require(isGood, sample.name + ": no block at " + place, "a block");
            bench.RequireSound(instance.Samples(), sample, frame, place);
            RequireTime(bench, instance, sample, frame);
            ++count;
        }
        const int64_t middle = bench.SoundOf(sample).Frames() / 2;
        if (!RequireSeek(bench, instance, sample.name, middle))
            continue;
        const Bytes rest = instance.DecodeRest().samples;
        const size_t tail = bench.SoundOf(sample).samples.size() -
                            static_cast<size_t>(middle) * bench.SoundOf(sample).FrameSize();
        bench.RequireSound(rest, sample, middle, "all from the middle on");
        bench.findings.Require(rest.size() == tail,
                               sample.name + ": " + Counted(std::ssize(rest), "byte") +
                                   " from the middle on",
                               std::to_string(tail));
    }
    bench.findings.Note(Counted(count, "position"));
}

void CheckSeekingPastEnd(Bench& bench)
{
    for (const Sample& sample : bench.Samples()) {
        const int64_t frames = bench.SoundOf(sample).Frames();
        Instance instance(bench.Functions());
        instance.Open(sample.path, QV_OPEN_PREPARE_DECODE);
        for (const int64_t frame :
             {frames, frames + 1, frames + 100000, std::numeric_limits<int64_t>::max()}) {
            if (RequireSeek(bench, instance, sample.name, frame))
                RequireEnd(bench, instance, sample.name + ", frame " + std::to_string(frame));
        }
        RequireSeek(bench, instance, sample.name, 0);
        const std::string difference =
            Difference(instance.DecodeRest().samples, bench.SoundOf(sample).samples);
        bench.findings.Require(difference.empty(),
                               sample.name + ", back at the start: " + difference,
                               "the samples from the start");
    }
}

void CheckRanges(Bench& bench)
{
    for (const Sample& sample : bench.Samples()) {
        const int64_t frames = bench.SoundOf(sample).Frames();
        const std::pair<int64_t, int64_t> ranges[] = {{0, QV_RANGE_TO_END},
                                                      {0, frames},
                                                      {0, frames + 1000},
                                                      {0, frames / 2},
                                                      {frames / 3, frames},
                                                      {1, frames / 2 + 1},
                                                      {1, frames - 1},
                                                      {5, QV_RANGE_TO_END},
                                                      {frames, frames + 5},
                                                      {10, 10},
                                                      {10, 5},
                                                      {frames - 1, frames},
                                                      {frames + 9, QV_RANGE_TO_END}};
        for (const auto& [first, end] : ranges) {
            if (first >= 0 && end >= QV_RANGE_TO_END)
                RequireRange(bench, sample, first, end);
        }
    }
}

void CheckRangeAtOpen(Bench& bench)
{
    for (const Sample& sample : bench.FewSamples()) {
        const Sound& sound = bench.SoundOf(sample);
        if (sound.Frames() < 20)
            continue;
        Instance instance(bench.Functions());
        const auto require = [&](const char* when, int64_t frames) {
            const Bytes rest = instance.DecodeRest().samples;
            bench.RequireSound(rest, sample, 0, when);
            bench.findings.Require(rest.size() / sound.FrameSize() == static_cast<size_t>(frames),
                                   sample.name + ", " + when + ": " +
                                       std::to_string(rest.size() / sound.FrameSize()) + " frames",
                                   std::to_string(frames));
        };
        instance.Open(sample.path, QV_OPEN_PREPARE_DECODE);
        instance.SetRange(0, 10);
        require("a range set after Open", sound.Frames());
        instance.Close();
        instance.Open(sample.path, QV_OPEN_PREPARE_DECODE);
        require("the next Open", 10);
    }
}

} // namespace aiff::host::validate
