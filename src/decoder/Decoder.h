// The decoder instance behind a host's handle.
#pragma once

#include "decode/StreamingDecoder.h"
#include "decode/WaveDecoder.h"
#include "qvcodec.h"
#include "support/net/XFileHTTPStream.h"

// Sends each call to the decoder that fits the opened input. Names and keys may be
// null; records are the host's and may be unaligned. Used by one thread at a time.
class clDecoder
{
public:
    explicit clDecoder(const STNStdReport& report) : m_report(report) {}

    [[nodiscard]] bool Get(const wchar_t* key, STQvCodecGetSet* getSet);
    [[nodiscard]] bool Set(const wchar_t* key, const STQvCodecGetSet* getSet);
    [[nodiscard]] bool Open(STQvOpenDecoder* open);
    [[nodiscard]] bool Close(const STQvEncoderFluid* fluid);
    [[nodiscard]] bool DecodeBlock(STQvAudioBlock* block);
    [[nodiscard]] bool SetPosition(int64_t frame);
    [[nodiscard]] bool DeleteATag(const wchar_t* path, const wchar_t* names);

private:
    bool OpenInput(const wchar_t* name);
    bool InitializeDecoder();
    // The decoder for the input as the stream knows it now.
    SoundDecoder& Fitting();
    void FillTexts(STQvOpenDecoder* open);
    bool FillAudio(STQvOpenDecoder* open);

    XFileHTTPStream m_stream;
    STNStdReport m_report;
    clWaveDecoder m_fileDecoder;
    clsStreamingwavedecoder m_streamDecoder;
    int64_t m_rangeStart = 0; // sample frames, for the next Open
    int64_t m_rangeEnd = QV_RANGE_TO_END;
    XStr m_answer1; // texts that Get handed out
    XStr m_answer2;
};
