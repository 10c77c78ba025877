// SPDX-License-Identifier: MIT

// A decoder at work: one handle of a plug-in.
#pragma once

#include "codecs/Codec.h"

namespace aiff::codecs
{

// Owns a decoder handle and keeps its library loaded. For one thread at a time. Every call
// on an empty instance fails.
class DecoderInstance
{
public:
    DecoderInstance() = default;
    // Creates a handle that reports to `report`, whose descriptors must stay open for as
    // long as the instance lives. Empty when the decoder refuses.
    DecoderInstance(std::shared_ptr<const Codec> codec, const STNStdReport& report);
    DecoderInstance& operator=(DecoderInstance&& other) noexcept;
    ~DecoderInstance();

    bool IsEmpty() const { return m_handle == nullptr; }

    // The plug-in's functions of the same names; true when they succeed.
    [[nodiscard]] bool Get(const wchar_t* key, STQvCodecGetSet& record);
    [[nodiscard]] bool Set(const wchar_t* key, STQvCodecGetSet& record);
    [[nodiscard]] bool Open(STQvOpenDecoder& record);
    void Close();
    [[nodiscard]] bool DecodeBlock(STQvAudioBlock& block);
    [[nodiscard]] bool DeleteATag(const wchar_t* fileName, const wchar_t* names);

private:
    std::shared_ptr<const Codec> m_codec;
    void* m_handle = nullptr;
    bool m_opened = false; // Close is due
};

} // namespace aiff::codecs
