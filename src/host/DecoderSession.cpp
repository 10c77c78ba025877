#include "host/DecoderSession.h"

#include "host/WideText.h"

namespace host
{
namespace
{

// A decoder that hands out this many blocks without audio in a row is stuck.
constexpr int kMaxEmptyBlocks = 1000;

std::vector<TagItem> ReadBlob(const uint8_t* data, uint32_t size)
{
    return data == nullptr ? std::vector<TagItem>() : ReadTagBlob({data, size});
}

} // namespace

DecoderSession::DecoderSession(const codecs::CodecLoader& loader, ReportCapture& report)
    : m_loader(loader), m_report(report)
{
}

bool DecoderSession::Open(const Input& input, uint32_t flags, FrameRange range)
{
    m_input = &input;
    const codecs::Decoder* expected = m_loader.ForExtension(WideFileName(input.Extension()));
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
    if (m_firstErrors.empty())
        m_firstErrors = m_report.Errors();
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
    m_record = STQvOpenDecoder{};
    m_record.pFileName = m_input->WideName().c_str();
    m_record.nFlags = flags;
    if (!m_instance.Open(m_record))
        return false;
    m_report.Collect();
    return true;
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

} // namespace host
