// SPDX-License-Identifier: MIT
#include "codecs/DecoderInstance.h"

#include <utility>

namespace aiff::codecs
{

DecoderInstance::DecoderInstance(std::shared_ptr<const Codec> codec, const STNStdReport& report)
    : m_codec(std::move(codec)), m_handle(m_codec->Functions().Create(&report))
{
}

DecoderInstance& DecoderInstance::operator=(DecoderInstance&& other) noexcept
{
    std::swap(m_codec, other.m_codec);
    std::swap(m_handle, other.m_handle);
    std::swap(m_opened, other.m_opened);
    return *this;
}

DecoderInstance::~DecoderInstance()
{
    if (m_opened)
        Close();
    if (m_handle != nullptr)
        m_codec->Functions().Destroy(m_handle);
}

bool DecoderInstance::Get(const wchar_t* key, STQvCodecGetSet& record)
{
    return m_handle != nullptr && m_codec->Functions().Get(m_handle, key, &record) != 0;
}

bool DecoderInstance::Set(const wchar_t* key, STQvCodecGetSet& record)
{
    return m_handle != nullptr && m_codec->Functions().Set(m_handle, key, &record) != 0;
}

bool DecoderInstance::Open(STQvOpenDecoder& record)
{
    m_opened = m_handle != nullptr;
    return m_handle != nullptr && m_codec->Functions().Open(m_handle, &record) != 0;
}

void DecoderInstance::Close()
{
    STQvEncoderFluid unused{};
    if (m_handle != nullptr)
        m_codec->Functions().Close(m_handle, &unused);
    m_opened = false;
}

bool DecoderInstance::DecodeBlock(STQvAudioBlock& block)
{
    return m_handle != nullptr && m_codec->Functions().DecodeBlock(m_handle, &block) != 0;
}

bool DecoderInstance::DeleteATag(const wchar_t* fileName, const wchar_t* names)
{
    return m_handle != nullptr && m_codec->Functions().DeleteATag(m_handle, fileName, names) != 0;
}

} // namespace aiff::codecs
