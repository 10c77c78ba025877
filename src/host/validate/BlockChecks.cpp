// SPDX-License-Identifier: MIT

// Decoding from start to end.

#include "host/base/Printable.h"
#include "host/validate/Bench.h"
#include "host/validate/Checks.h"
#include "host/validate/RecordFields.h"

#include <algorithm>

namespace aiff::host::validate
{
namespace
{

bool IsFormatOf(const GeneratedFile& file, const STQvWaveFormat& format)
{
    return format.nChannels == file.channels && format.nBitsPerSample == file.bits &&
           format.nSamplesPerSec == file.rate;
}

bool IsTimeOf(int64_t milliseconds, size_t bytes, const STQvAudioInfo& info)
{
    return IsNear(milliseconds,
                  TimeOf(static_cast<int64_t>(bytes), info.WaveFormat.nAvgBytesPerSec));
}

// One block against what is known of the whole.
void RequireBlock(Bench& bench, const Sample& sample, const STQvAudioBlock& block, size_t position)
{
    const Sound& sound = bench.SoundOf(sample);
    const std::string name = sample.name + ", block at byte " + std::to_string(position);
    const auto require = [&](bool holds, const char* field, int64_t value, const char* required) {
        bench.findings.Require(holds, name + ": " + field + " is " + std::to_string(value),
                               required);
    };
    require(block.nDataSize <= kMaxBlockSize, "nDataSize", block.nDataSize, "at most 65536 bytes");
    require(block.nDataSize % sound.FrameSize() == 0, "nDataSize", block.nDataSize,
            "whole sample frames");
    require(IsTimeOf(block.nPositionMS, position, sound.info), "nPositionMS", block.nPositionMS,
            "the time of the block's first sample");
    require(block.nLastBlock == 0 || block.nLastBlock == 1, "nLastBlock", block.nLastBlock,
            "0 or 1");
    if (block.nDataSize == 0)
        return;
    require(IsTimeOf(block.nDurationMS, block.nDataSize, sound.info), "nDurationMS",
            block.nDurationMS, "the length of the block");
    require(block.nBitRate == sound.info.nBitRate, "nBitRate", block.nBitRate,
            "the bit rate that Open has told");
    bench.findings.Require(
        std::memcmp(&block.WaveFormat, &sound.info.WaveFormat, QV_WAVE_FORMAT_BASIC_SIZE) == 0,
        name + ": WaveFormat differs", "the format that Open has told");
}

// Decodes the file with records that hold a pattern, up to its end.
void RequireRecords(Bench& bench, const Sample& sample)
{
    Instance instance(bench.Functions());
    instance.Open(sample.path, QV_OPEN_PREPARE_DECODE);
    const Guarded<STQvAudioBlock> before(kPattern);
    const size_t size = bench.SoundOf(sample).samples.size();
    size_t position = 0;
    do {
        if (instance.DecodeBlock(kPattern) != 1)
            return;
        const STQvAudioBlock after = instance.block.Value();
        const bool isEmpty = position == size;
        FieldNames allowed = {"WaveFormat", "nBitRate", "nDurationMS", "nPositionMS", "nLastBlock"};
        if (!isEmpty)
            allowed.insert({"pData", "nDataSize"});
        const std::string changed = ChangedFields(before.Value(), after, allowed);
        const std::string name = sample.name + ", block at byte " + std::to_string(position);
        bench.findings.Require(changed.empty() && instance.block.IsIntact(),
                               name + ": DecodeBlock changes " +
                                   (changed.empty() ? "bytes around the record" : changed),
                               "only the format, the times and the samples are written");
        position += isEmpty ? 0 : after.nDataSize;
        if (!bench.findings.Require(position <= size && after.nLastBlock >= 0 &&
                                        after.nLastBlock <= 1,
                                    name + ": nDataSize is " + std::to_string(after.nDataSize) +
                                        ", nLastBlock " + std::to_string(after.nLastBlock),
                                    "both are written as in a cleared record"))
            return;
    } while (instance.block->nLastBlock == 0);
}

} // namespace

void CheckSamples(Bench& bench)
{
    int compared = 0;
    for (const Sample& sample : bench.Samples()) {
        bench.RequireSameSound(sample.path, sample, "decoded again");
        const Sound& sound = bench.SoundOf(sample);
        if (sample.generated == nullptr)
            continue;
        if (!IsFormatOf(*sample.generated, sound.info.WaveFormat)) {
            bench.findings.Note(sample.name + " is decoded to another format: not compared");
            continue;
        }
        const std::string difference = Difference(sound.samples, DecodedSamples(*sample.generated));
        bench.findings.Require(difference.empty(), sample.name + ": " + difference,
                               "the samples of the file");
        ++compared;
    }
    bench.findings.Note(Counted(compared, "file") + " compared with known samples");
}

void CheckBlocks(Bench& bench)
{
    for (const Sample& sample : bench.Samples()) {
        Instance instance(bench.Functions());
        instance.Open(sample.path, QV_OPEN_PREPARE_DECODE);
        size_t position = 0;
        while (position <= bench.SoundOf(sample).samples.size()) {
            if (!bench.findings.Require(instance.DecodeBlock() == 1,
                                        sample.name + ": DecodeBlock fails", "1"))
                break;
            const STQvAudioBlock block = instance.block.Value();
            RequireBlock(bench, sample, block, position);
            position += block.nDataSize;
            if (block.nLastBlock != 0)
                break;
        }
        const int64_t told = bench.SoundOf(sample).info.nLengthBytes;
        bench.findings.Require(static_cast<int64_t>(position) == told,
                               sample.name + ": blocks of " + std::to_string(position) +
                                   " bytes together",
                               "as many as Open has told: " + std::to_string(told));
    }
}

void CheckBlockRecord(Bench& bench)
{
    for (const Sample& sample : bench.Samples())
        RequireRecords(bench, sample);
}

void CheckLastBlock(Bench& bench)
{
    for (const Sample& sample : bench.Samples()) {
        Instance instance(bench.Functions());
        instance.Open(sample.path, QV_OPEN_PREPARE_DECODE);
        (void)instance.DecodeRest();
        const Guarded<STQvAudioBlock> before(kPattern);
        for (int i = 0; i < 3; ++i) {
            const std::string name = sample.name + ", asked again after the end: ";
            if (!bench.findings.Require(instance.DecodeBlock(kPattern) == 1,
                                        name + "DecodeBlock fails", "1"))
                break;
            const STQvAudioBlock after = instance.block.Value();
            bench.findings.Require(after.nLastBlock == 1,
                                   name + "nLastBlock is " + std::to_string(after.nLastBlock), "1");
            bench.findings.Require(after.pData == before.Value().pData &&
                                       after.nDataSize == before.Value().nDataSize,
                                   name + "pData or nDataSize is written",
                                   "both are left alone, as there is no audio");
        }
    }
}

void CheckBlockLifetime(Bench& bench)
{
    for (const Sample& sample : bench.FewSamples()) {
        Instance instance(bench.Functions());
        instance.Open(sample.path, QV_OPEN_PREPARE_DECODE);
        if (instance.DecodeBlock() != 1)
            continue;
        const Bytes samples = instance.Samples();
        for (const Sample& other : bench.FewSamples())
            (void)Decode(bench.Functions(), other.path);
        instance.Get(QV_KEY_DECODES, 0);
        instance.SetRange(1, 2);
        bench.findings.Require(instance.Samples() == samples,
                               sample.name + ": the block has changed",
                               "its bytes stay until DecodeBlock, SetPosition, Close or Destroy");
    }
}

} // namespace aiff::host::validate
