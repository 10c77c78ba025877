// SPDX-License-Identifier: MIT
#include "host/author/SoundSum.h"

#include "aiff/AIFFHandler.h"
#include "host/author/CodedSound.h"
#include "host/author/OpenSource.h"
#include "host/author/SoundFile.h"
#include "host/base/Printable.h"

#include <algorithm>
#include <array>
#include <openssl/evp.h>

namespace aiff::host
{

struct SoundSum::Context {
    struct Free {
        void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
    };
    std::unique_ptr<EVP_MD_CTX, Free> md5{EVP_MD_CTX_new()};
};

SoundSum::SoundSum(int bits) : m_context(std::make_unique<Context>()), m_bits(bits)
{
    EVP_MD_CTX* const md5 = m_context->md5.get();
    if (md5 == nullptr || EVP_DigestInit_ex(md5, EVP_md5(), nullptr) != 1)
        m_context.reset();
}

SoundSum::~SoundSum() = default;

void SoundSum::AddAiff(XMem& samples)
{
    const int byteBits = (m_bits + 7) / 8 * 8;
    if (byteBits > 8) // single bytes are signed already
        clAIFFHandler::ByteSwap(samples.View(), byteBits);
    if (byteBits != m_bits)
        MoveDown(samples.View());
    Add(samples.View());
}

void SoundSum::AddWav(std::span<const uint8_t> samples)
{
    if (m_bits == 8) {
        constexpr uint8_t kSign = 0x80;
        m_signedBytes.assign(samples.begin(), samples.end());
        for (uint8_t& sample : m_signedBytes)
            sample ^= kSign;
        samples = m_signedBytes;
    }
    Add(samples);
}

void SoundSum::Add(std::span<const uint8_t> samples)
{
    if (m_context && EVP_DigestUpdate(m_context->md5.get(), samples.data(), samples.size()) != 1)
        m_context.reset();
}

// FLAC counts in units of the lowest significant bit, where AIFF and WAV leave bits below it.
void SoundSum::MoveDown(std::span<uint8_t> samples)
{
    const size_t width = (static_cast<size_t>(m_bits) + 7) / 8;
    constexpr int kFullBits = 32;
    for (; samples.size() >= width; samples = samples.subspan(width)) {
        uint32_t value = 0; // its highest bit is the sample's
        for (size_t i = 0; i < width; ++i)
            value |= uint32_t{samples[i]} << (kFullBits - 8 * (width - i));
        m_hasMoreBits |= (value << m_bits) != 0;
        const int32_t moved = static_cast<int32_t>(value) >> (kFullBits - m_bits);
        for (size_t i = 0; i < width; ++i)
            samples[i] = static_cast<uint8_t>(moved >> (8 * i));
    }
}

Result<std::string> SoundSum::Hex()
{
    std::array<unsigned char, EVP_MAX_MD_SIZE> sum{};
    unsigned int size = 0;
    if (!m_context || EVP_DigestFinal_ex(m_context->md5.get(), sum.data(), &size) != 1)
        return Problem("has no MD5 sum, as the settings of OpenSSL on this system forbid MD5");
    return Hexadecimal(std::as_bytes(std::span(sum).first(size)));
}

namespace
{

// Adds all samples; what comes before them is left out.
Problem AddAll(SoundSource& source, SoundSum& sum)
{
    XMem block;
    int64_t read = 0;
    do {
        if (!source.Read(block))
            return "cannot be read to the end of its sound data";
        read += static_cast<int64_t>(block.Used());
        if (source.SampleBytes(read) > 0)
            sum.AddAiff(block);
    } while (!block.Empty());
    const bool isShort = read < source.ExpectedBytes();
    return isShort ? Problem("ends before its sound data is complete") : source.Damage();
}

FileSum SumOfCoded(const std::string& path)
{
    const Result<CodedSound> sound = OpenCodedSound(path, {});
    if (!sound)
        return {{}, sound.Why()};
    PcmReader& reader = *sound->reader;
    const STQvWaveFormat format = reader.Format();
    SoundSum sum(format.nBitsPerSample);
    std::span<const uint8_t> pcm;
    PcmReader::Step step = reader.Next(pcm);
    for (; step == PcmReader::Step::Block; step = reader.Next(pcm))
        sum.AddWav(pcm);
    Problem damage = step == PcmReader::Step::Failed ? reader.Failure() : reader.Damage();
    if (!damage)
        damage = ReadAiffSound(path).damage;
    if (damage)
        return {{}, damage, true, format};
    const Result<std::string> hex = sum.Hex();
    return hex ? FileSum{*hex, {}, false, format} : FileSum{{}, hex.Why()};
}

} // namespace

FileSum SumOfFile(const std::string& path, SampleWidth width)
{
    const Result<std::unique_ptr<SoundSource>> source = OpenSource(path, Samples::Bare);
    if (!source && ReadAiffSound(path).isCoded)
        return SumOfCoded(path);
    if (!source)
        return {{}, source.Why()};
    const STQvWaveFormat format = (*source)->Format();
    const int bits = format.nBitsPerSample;
    SoundSum sum(width == SampleWidth::Bits ? bits : (bits + 7) / 8 * 8);
    if (Problem damage = AddAll(**source, sum))
        return {{}, damage, true, format};
    if (sum.HasMoreBits())
        return {{}, "has samples of more than its " + std::to_string(bits) + " bits", true, format};
    const Result<std::string> hex = sum.Hex();
    if (!hex)
        return {{}, hex.Why()};
    const std::string own = (*source)->OwnSum();
    if (!own.empty() && own != *hex)
        return {{}, kNotAsSummed, true, format};
    return {*hex, {}, false, format};
}

} // namespace aiff::host
