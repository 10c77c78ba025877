// SPDX-License-Identifier: MIT
#include "host/session/DecoderSession.h"

#include "support/text/XStr.h"

namespace aiff::host
{
namespace
{

// A decoder that returns this many blocks without audio in a row is stuck.
constexpr int kMaxEmptyBlocks = 1000;
// The compression code of little-endian AIFF-C files, upper or lower case.
constexpr std::string_view kLittleEndianCode = "sowt";

std::vector<TagItem> ReadBlob(const uint8_t* data, uint32_t size)
{
    return data == nullptr ? std::vector<TagItem>() : ReadTagBlob({data, size});
}

// Moves 8-bit samples from the range -128..127 to 0..255.
std::span<const uint8_t> Unsigned(std::span<const uint8_t> samples, std::vector<uint8_t>& buffer)
{
    buffer.assign(samples.begin(), samples.end());
    for (uint8_t& sample : buffer)
        sample ^= 0x80;
    return buffer;
}

} // namespace

DecoderSession::DecoderSession(const codecs::CodecLoader& loader, ReportCapture& report)
    : m_loader(loader), m_report(report)
{
}

bool DecoderSession::Open(const Input& input, uint32_t flags, FrameRange range)
{
    m_input = &input;
    const codecs::Decoder* expected = m_loader.ForExtension(FromPathBytes(input.Extension()));
    if (expected != nullptr && Try(*expected, flags, range))
        return true;
    for (const codecs::Decoder& decoder : m_loader.Decoders()) {
        if (&decoder != expected && Try(decoder, flags, range))
            return true;
    }
    m_failed = true;
    return false;
}

bool DecoderSession::Try(const codecs::Decoder& decoder, uint32_t flags, FrameRange range)
{
    m_report.Clear();
    if (OpenWith(decoder, flags, range))
        return true;
    m_report.Collect();
    if (m_firstErrors.empty() && m_firstInformation.empty()) {
        m_firstErrors = m_report.Errors();
        m_firstInformation = m_report.Information();
    }
    return false;
}

bool DecoderSession::OpenWith(const codecs::Decoder& decoder, uint32_t flags, FrameRange range)
{
    m_decoder = &decoder;
    m_instance = codecs::DecoderInstance(decoder.codec, m_report.Handles());
    if (!range.IsWhole()) {
        STQvCodecGetSet values{};
        values.nValue1 = range.first;
        values.nValue2 = range.end;
        if (!m_instance.Set(QV_KEY_SET_DECODE_RANGE, values))
            return false;
    }
    if (m_input->IsStream()) {
        STQvCodecGetSet exact{};
        exact.nValue1 = 1;
        (void)m_instance.Set(QV_KEY_EXACT_STREAMS, exact); // others give samples only anyway
    }
    m_record = STQvOpenDecoder{};
    m_path = m_input->WidePath();
    m_record.pFileName = m_path.c_str();
    m_record.nFlags = flags;
    if ((flags & QV_OPEN_PREPARE_DECODE) != 0)
        m_record.nFlags |= QV_OPEN_PROPERTIES; // for HasSignedBytes
    if (!m_instance.Open(m_record))
        return false;
    m_signedBytes = HasSignedBytes();
    m_report.Collect();
    return true;
}

// Decoders return the 8-bit samples of little-endian files unchanged, that is signed, and
// those of all other files unsigned.
bool DecoderSession::HasSignedBytes() const
{
    constexpr uint16_t kByteBits = 8;
    const uint16_t bits = m_record.AudioInfo.WaveFormat.nBitsPerSample;
    return bits == kByteBits &&
           EqualNoCase(FindValue(Properties(), "Encoder Settings").substr(0, 4), kLittleEndianCode);
}

// A decoder shows this by a length of 0 milliseconds although there are bytes for some.
bool DecoderSession::HasUnknownLength() const
{
    const STQvAudioInfo info = AudioInfo();
    constexpr int64_t kMillisecondsPerSecond = 1000;
    const int64_t bytesPerMillisecond =
        int64_t{info.WaveFormat.nAvgBytesPerSec} / kMillisecondsPerSecond;
    return m_input->IsStream() && info.nLengthMS == 0 && info.nLengthBytes > bytesPerMillisecond;
}

DecoderSession::Step DecoderSession::Next(std::span<const uint8_t>& pcm)
{
    while (!m_ended) {
        STQvAudioBlock block{};
        if (!m_instance.DecodeBlock(block))
            break;
        m_ended = block.nLastBlock != 0;
        if (block.pData != nullptr && block.nDataSize != 0) {
            m_emptyBlocks = 0;
            pcm = {block.pData, block.nDataSize};
            if (m_signedBytes)
                pcm = Unsigned(pcm, m_unsignedBytes);
            return Step::Block;
        }
        if (!m_ended && ++m_emptyBlocks > kMaxEmptyBlocks)
            break;
    }
    m_report.Collect();
    return m_ended ? Step::End : Step::Failed;
}

std::vector<TagItem> DecoderSession::Tags() const
{
    return ReadBlob(m_record.pTagData, m_record.nTagDataSize);
}

std::vector<TagItem> DecoderSession::Properties() const
{
    return ReadBlob(m_record.pPropertiesData, m_record.nPropertiesDataSize);
}

} // namespace aiff::host
