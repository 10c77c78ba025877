// SPDX-License-Identifier: MIT
#include "decoder/Decoder.h"

namespace aiff
{

using StdReport::Operation;

namespace
{

constexpr const char* kOpen = "Open";

// Most characters that a packed list of names is read for.
constexpr size_t kMostNameCharacters = 2000000000;

// Splits a packed list of zero-terminated names; an empty name ends it.
std::vector<XStr> UnpackNames(const wchar_t* names)
{
    std::vector<XStr> list;
    size_t used = 0;
    while (used < kMostNameCharacters && names[used] != 0) {
        list.emplace_back(names + used);
        used += list.back().size() + 1;
    }
    return list;
}

} // namespace

SoundDecoder& clDecoder::ActiveDecoder()
{
    if (m_stream.FromInterent())
        return m_streamDecoder;
    return m_fileDecoder;
}

bool clDecoder::Open(STQvOpenDecoder* open)
{
    const Operation operation(m_report, kOpen);
    if ((open->nFlags & QV_OPEN_EXTERNAL_PACKETS) != 0) {
        StdReport::WriteERROR({L"Error cannot decode external-packet data."}, m_report, kOpen);
        return false;
    }
    if (!OpenInput(open->pFileName))
        return false;
    StdReport::WriteDEBUG(L"Reading Audio Information", m_report);
    if (!InitializeDecoder())
        return false;
    StdReport::WriteDEBUG(L"Read Audio Information", m_report);
    FillTexts(open);
    return FillAudio(open) && operation.Succeed();
}

bool clDecoder::OpenInput(const wchar_t* name)
{
    StdReport::WriteDEBUG(L"Opening file '", m_report, nullptr, false);
    StdReport::WriteDEBUG(name != nullptr ? name : L"", m_report, nullptr, false);
    StdReport::WriteDEBUG(L"' for read access: ", m_report, nullptr, false);
    if (name != nullptr)
        m_fileDecoder.Release();
    if (name == nullptr || !m_stream.Open(name)) {
        if (name != nullptr && !m_stream.OpenFault().empty())
            StdReport::WriteINFO({L"Cannot open stream: ", m_stream.OpenFault()}, m_report, kOpen);
        StdReport::WriteERROR(
            {L"Error opening file '", name, L"' check no other program has it open."}, m_report,
            kOpen);
        return false;
    }
    StdReport::WriteDEBUG(L"Opened", m_report);
    return true;
}

bool clDecoder::InitializeDecoder()
{
    if (m_stream.FromInterent())
        return m_streamDecoder.Initialize(m_stream, m_report, m_rangeStart, m_rangeEnd,
                                          m_streamMode);
    return m_fileDecoder.Initialize(m_stream.FileHandle(), m_report, m_rangeStart, m_rangeEnd);
}

// Tags and properties that cannot be read do not make Open fail.
void clDecoder::FillTexts(STQvOpenDecoder* open)
{
    SoundDecoder& decoder = ActiveDecoder();
    const uint32_t flags = open->nFlags;
    XStr tagDescription;
    if ((flags & (QV_OPEN_READ_TAGS | QV_OPEN_PROPERTIES)) != 0) {
        const XMem* tags = decoder.ReadIDTags(tagDescription);
        if ((flags & QV_OPEN_READ_TAGS) != 0 && tags != nullptr) {
            open->pTagData = tags->Data();
            open->nTagDataSize = static_cast<uint32_t>(tags->Used());
        }
    }
    if ((flags & QV_OPEN_PROPERTIES) != 0) {
        const XMem* properties = decoder.FillAudioProps(tagDescription);
        if (properties != nullptr) {
            open->pPropertiesData = properties->Data();
            open->nPropertiesDataSize = static_cast<uint32_t>(properties->Used());
        }
    }
}

bool clDecoder::FillAudio(STQvOpenDecoder* open)
{
    SoundDecoder& decoder = ActiveDecoder();
    const uint32_t flags = open->nFlags;
    if ((flags & (QV_OPEN_AUDIO_INFO | QV_OPEN_PREPARE_DECODE)) != 0) {
        StdReport::WriteDEBUG(L"Writing Audio Information", m_report);
        if (!decoder.FillAudioInfo(&open->AudioInfo))
            return false;
        StdReport::WriteDEBUG(L"Written Audio Information", m_report);
    }
    if ((flags & QV_OPEN_PREPARE_DECODE) != 0) {
        StdReport::WriteDEBUG(L"Preparing to Decode", m_report);
        if (!decoder.PrepareToDecodeAudio(&open->AudioInfo))
            return false;
        StdReport::WriteDEBUG(L"Prepared Decoding", m_report);
    }
    return true;
}

bool clDecoder::Close(const STQvEncoderFluid* fluid)
{
    const Operation operation(m_report, "Close");
    const STQvEncoderFluid used = fluid != nullptr ? *fluid : STQvEncoderFluid{};
    m_fileDecoder.Close(used);
    m_streamDecoder.Close(used);
    m_stream.Close();
    return operation.Succeed();
}

bool clDecoder::DecodeBlock(STQvAudioBlock* block)
{
    return ActiveDecoder().DecodeBlock(block);
}

bool clDecoder::SetPosition(int64_t frame)
{
    const Operation operation(m_report, "SetPosition");
    return ActiveDecoder().SetPosition(frame) && operation.Succeed();
}

bool clDecoder::DeleteATag(const wchar_t* path, const wchar_t* names)
{
    const Operation operation(m_report, "DeleteATag");
    const bool everything = names == nullptr || names[0] == 0;
    const bool deleted = m_fileDecoder.DeleteTags(
        path, everything ? std::vector<XStr>() : UnpackNames(names), m_report, m_durability);
    operation.Leave();
    return deleted;
}

} // namespace aiff
