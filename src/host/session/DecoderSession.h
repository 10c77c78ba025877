// SPDX-License-Identifier: MIT

// A decoder at work on one input.
#pragma once

#include "codecs/CodecLoader.h"
#include "codecs/DecoderInstance.h"
#include "host/base/Input.h"
#include "host/session/PcmReader.h"
#include "host/session/ReportCapture.h"
#include "host/session/TagBlob.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace aiff::host
{

// The sample frames to decode; `end` is exclusive.
struct FrameRange {
    int64_t first = 0;
    int64_t end = QV_RANGE_TO_END;

    bool IsWhole() const { return first == 0 && end == QV_RANGE_TO_END; }
};

// Decodes one input with whichever decoder accepts it.
class DecoderSession
{
public:
    using Step = PcmReader::Step;

    // Both must outlive the session.
    DecoderSession(const codecs::CodecLoader& loader, ReportCapture& report);

    // Opens the input with the decoder for its extension, or else with the first one that
    // accepts it. To be called once. `flags` is a combination of QV_OPEN_...
    [[nodiscard]] bool Open(const Input& input, uint32_t flags, FrameRange range = {});

    // Whether the audio has no known end: then AudioInfo() has no length, and the audio ends
    // where Next() fails.
    bool HasUnknownLength() const;

    // The next block of PCM, in the form of a WAV file and valid until the next call. Needs
    // QV_OPEN_PREPARE_DECODE.
    [[nodiscard]] Step Next(std::span<const uint8_t>& pcm);

    // After a successful Open. What the flags did not ask for is empty.
    const codecs::Decoder& UsedDecoder() const { return *m_decoder; }
    const STQvAudioInfo& AudioInfo() const { return m_record.AudioInfo; }
    // Their pictures are views into the decoder's memory, valid as long as the session.
    std::vector<TagItem> Tags() const;
    std::vector<TagItem> Properties() const;

    const codecs::CodecLoader& Loader() const { return m_loader; }
    const Input& Source() const { return *m_input; }
    // What the decoder in use has reported, or the first one tried when all failed.
    const std::vector<std::string>& Errors() const
    {
        return m_failed ? m_firstErrors : m_report.Errors();
    }
    const std::vector<std::string>& Information() const
    {
        return m_failed ? m_firstInformation : m_report.Information();
    }

private:
    bool Try(const codecs::Decoder& decoder, uint32_t flags, FrameRange range);
    bool HasSignedBytes() const;
    bool OpenWith(const codecs::Decoder& decoder, uint32_t flags, FrameRange range);

    const codecs::CodecLoader& m_loader;
    ReportCapture& m_report;
    const Input* m_input = nullptr;
    const codecs::Decoder* m_decoder = nullptr;
    std::wstring m_path; // that the record refers to
    codecs::DecoderInstance m_instance;
    STQvOpenDecoder m_record{};
    std::vector<std::string> m_firstErrors;
    std::vector<std::string> m_firstInformation;
    bool m_failed = false; // to open
    bool m_ended = false;
    int m_emptyBlocks = 0;
    bool m_signedBytes = false;
    std::vector<uint8_t> m_unsignedBytes;
};

} // namespace aiff::host
