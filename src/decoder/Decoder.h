// SPDX-License-Identifier: MIT

// The decoder instance that a host's handle refers to. Get and Set have a source of their
// own, DecoderGetSet.cpp. Exports.cpp has the exported
// functions, which qvcodec.h declares.
#pragma once

#include "decode/StreamingDecoder.h"
#include "decode/WaveDecoder.h"
#include "qvcodec.h"
#include "support/net/XFileHTTPStream.h"

namespace aiff
{

// Forwards each call to the decoder for the kind of input that is open. Names and keys may
// be null; records belong to the host and may be unaligned. Used by one thread at a time.
// All operations return false on failure; qvcodec.h describes them.
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
    // The decoder for the input that was opened last: a stream or a file.
    SoundDecoder& ActiveDecoder();
    void FillTexts(STQvOpenDecoder* open);
    bool FillAudio(STQvOpenDecoder* open);

    XFileHTTPStream m_stream;
    STNStdReport m_report;
    clWaveDecoder m_fileDecoder;
    clsStreamingwavedecoder m_streamDecoder;
    int64_t m_rangeStart = 0; // sample frames, for the next Open
    int64_t m_rangeEnd = QV_RANGE_TO_END;
    Durability m_durability = Durability::Flushed;
    StreamMode m_streamMode = StreamMode::Plain; // for the next Open
    XStr m_answer1;                              // the texts that Get returned last
    XStr m_answer2;
};

} // namespace aiff
