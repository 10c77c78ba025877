// SPDX-License-Identifier: MIT

// Get and Set: the host's questions and commands.

#include "decoder/Decoder.h"

namespace aiff
{

namespace
{

struct DecodesRow {
    const wchar_t* extension;
    const wchar_t* format;
};

constexpr DecodesRow kDecodes[] = {
    {L".aif", L"AIFF"},
    {L".aiff", L"AIFF"},
    {L".aifc", L"AIFC"},
};

constexpr const wchar_t* kStreamingDecodes[] = {
    L"audio/aiff", L"application/aiff", L"audio/x-aiff", L"application/x-aiff",
    L"audio/aif",  L"application/aif",  L"audio/x-aif",  L"application/x-aif",
};

constexpr const wchar_t* kDescription = L"Aiff Decoder";

} // namespace

bool clDecoder::Get(const wchar_t* key, STQvCodecGetSet* getSet)
{
    StdReport::WriteDEBUG(key, m_report, "Get");
    const std::wstring_view question(key != nullptr ? key : L"");
    const uint32_t index = getSet->nItemIndex;
    if (question == QV_KEY_DECODES && index < std::size(kDecodes)) {
        m_answer1 = kDecodes[index].extension;
        m_answer2 = kDecodes[index].format;
        getSet->pText1 = m_answer1.c_str();
        getSet->pText2 = m_answer2.c_str();
        return true;
    }
    if (question == QV_KEY_STREAMING_DECODES && index < std::size(kStreamingDecodes))
        m_answer1 = kStreamingDecodes[index];
    else if (question == QV_KEY_DECODER_DESCRIPTION)
        m_answer1 = kDescription;
    else
        return false;
    getSet->pText1 = m_answer1.c_str();
    return true;
}

bool clDecoder::Set(const wchar_t* key, const STQvCodecGetSet* getSet)
{
    StdReport::WriteDEBUG(key, m_report, "Set");
    const std::wstring_view command(key != nullptr ? key : L"");
    if (command == QV_KEY_SET_DECODE_RANGE) {
        m_rangeStart = getSet->nValue1;
        m_rangeEnd = getSet->nValue2;
        return true;
    }
    if (command == QV_KEY_EXACT_STREAMS && (getSet->nValue1 == 0 || getSet->nValue1 == 1)) {
        m_streamMode = getSet->nValue1 == 0 ? StreamMode::Plain : StreamMode::Exact;
        return true;
    }
    if (command == QV_KEY_ID_TAGS)
        return m_fileDecoder.WriteIDTags(getSet->pText1, getSet->pData, getSet->nDataSize, m_report,
                                         m_durability);
    if (command == QV_KEY_DURABLE_EDITS && (getSet->nValue1 == 0 || getSet->nValue1 == 1)) {
        m_durability = getSet->nValue1 == 1 ? Durability::Flushed : Durability::Unflushed;
        return true;
    }
    return false;
}

} // namespace aiff
