#pragma once

#include "codecs/CodecLoader.h"
#include "codecs/DecoderInstance.h"
#include "host/base/Input.h"
#include "host/session/ReportCapture.h"
#include "host/session/TagBlob.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace host
{

// Sample frames to decode; `end` is exclusive.
struct FrameRange {
    int64_t first = 0;
    int64_t end = QV_RANGE_TO_END;

    bool IsWhole() const { return first == 0 && end == QV_RANGE_TO_END; }
};

// Decodes one input with whichever decoder accepts it.
class DecoderSession
{
public:
    enum class Step { Block, End, Failed };

    // Both must outlive the session.
    DecoderSession(const codecs::CodecLoader& loader, ReportCapture& report);

    // Opens the input with the decoder of its extension, or else with the first
    // that accepts it. `flags` is a sum of QV_OPEN_...; call it once.
    [[nodiscard]] bool Open(const Input& input, uint32_t flags, FrameRange range = {});

    // Whether the audio has no known end: AudioInfo() then tells no length, and the
    // audio ends where Next() fails.
    bool HasUnknownLength() const;

    // The next block of PCM as a WAV file holds it, valid until the next call. After
    // QV_OPEN_PREPARE_DECODE.
    [[nodiscard]] Step Next(std::span<const uint8_t>& pcm);

    // After a successful Open; what the flags did not ask for is empty.
    const codecs::Decoder& UsedDecoder() const { return *m_decoder; }
    const STQvAudioInfo& AudioInfo() const { return m_record.AudioInfo; }
    // Views into memory of the decoder, valid as long as the session.
    std::vector<TagItem> Tags() const;
    std::vector<TagItem> Properties() const;

    const codecs::CodecLoader& Loader() const { return m_loader; }
    const Input& Source() const { return *m_input; }
    // Lines of the decoder in use, or of the first one tried when all have failed.
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

} // namespace host
