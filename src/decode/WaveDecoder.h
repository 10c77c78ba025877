// Decoding a local AIFF or AIFF-C file into little-endian PCM blocks.
#pragma once

#include "aiff/AIFFHandler.h"
#include "decode/CommonChunk.h"
#include "decode/SoundRange.h"
#include "qvcodec.h"
#include "tags/NTag.h"

// One file, from Initialize to Close. The format and the place of the sound data are
// learned once and kept, also over a second Initialize. Reads go by position: one
// that fails leaves the decoder where it was.
//
// Blocks that are handed out (tags, properties, audio) belong to the decoder and are
// valid until the next call of the same kind or its end.
class clWaveDecoder
{
public:
    // Looks at an open file and indexes its chunks. The range is in sample frames,
    // its end exclusive, -1 for the end of the audio.
    [[nodiscard]] bool Initialize(XFileHandle file, const STNStdReport& report, int64_t rangeStart,
                                  int64_t rangeEnd);

    // Lets the file go; what was learned of it stays.
    void Close(STQvEncoderFluid fluid);

    // Fills format, bit rate and the length of the range.
    [[nodiscard]] bool FillAudioInfo(STQvAudioInfo* info);

    // Stands at the start of the range. False for compressed audio.
    [[nodiscard]] bool PrepareToDecodeAudio(STQvAudioInfo* info);

    // Hands out the next block. At the end of the range only the last-block flag is
    // set. False when the sound data cannot be read.
    [[nodiscard]] bool DecodeBlock(STQvAudioBlock* block);

    // Moves to a frame counted from the start of the range; one behind the range
    // lands at its end, a negative one before its start. False, with the position
    // unchanged, when the file has no such place.
    [[nodiscard]] bool SetPosition(int64_t frame);

    // Reads the tags and appends a description of where they were found to
    // `properties`. The tag blob, or null when there are no tags.
    const XMem* ReadIDTags(XStr& properties);

    // Describes the audio as a list of named texts in the form of a tag blob;
    // `properties` is what ReadIDTags said. Null when the format cannot be learned.
    const XMem* FillAudioProps(const XStr& properties);

    // Writes a tag blob into a file. An empty list leaves the file alone.
    [[nodiscard]] bool WriteIDTags(const wchar_t* path, const uint8_t* blob, int32_t size,
                                   const STNStdReport& report);

    // Deletes fields by name, or all tags, from a file.
    [[nodiscard]] bool DeleteTags(const wchar_t* path, const std::vector<XStr>& names,
                                  bool everything, const STNStdReport& report);

private:
    bool PullOutCOMMnSSND();
    bool ReadCOMM(const STRIFFChunk& chunk);
    bool ReadDataBlock();
    NTag CollectProps(const XStr& properties) const;
    XStr EncoderSettings() const;
    XStr ChunkList() const;
    void TraceTags(const NTag& tags) const;

    XFile m_file;
    STNStdReport m_report = {};
    clAIFFHandler m_aiff;
    XMem m_commBytes; // the COMM body; once it is held, the format is known
    STCommonChunk m_common;
    STSoundRange m_range;
    int64_t m_position = 0;  // file position of the next byte to decode
    int64_t m_remaining = 0; // bytes left in the range
    XMem m_decodeBuffer;
    XMem m_propertiesBuffer;
    XMem m_tagBuffer;
};
