// The chunk structure of an AIFF or AIFF-C file.
#pragma once

#include "aiff/FourCC.h"
#include "support/StdReport.h"
#include "support/XMem.h"
#include "support/file/XFile.h"

#include <vector>

class clPassAIFFChunks;

// One chunk. Positions are those of chunks that lie back to back from offset 12,
// each padded to an even length.
struct STRIFFChunk {
    uint32_t ID = 0;              // code, as its four bytes stand in the file
    int64_t nSize = 0;            // data bytes, the pad byte not counted
    int64_t ChunkPosition = 0;    // file offset of the 8-byte header
    int64_t FileDataPosition = 0; // file offset of the data
    bool bWrite = false;          // the next WriteChunkHeaders writes its header
    XMem Data;                    // data held in memory for writing; empty after a scan
};

// What a scan found that an edit has to know.
struct STScanFindings {
    int64_t nFileSize = 0;
    int64_t nFormSize = 0;   // as the file says it
    bool endedEarly = false; // a header was there but could not be read
    bool cutToForm = false;  // a chunk claimed more than the form holds
    bool cutToFile = false;  // a chunk claimed more than the file holds
};

// A file with the index of its chunks. The index is made once, by Initialize; it
// says nothing about what the chunks hold.
class clAIFFHandler : public XFile
{
public:
    // Looks at an open file and indexes it. False when it is no AIFF file or
    // cannot be read; the reason stands in the report. Sizes that disagree with
    // each other or with the file are repaired in the index and reported.
    [[nodiscard]] bool Initialize(XFileHandle file, const STNStdReport& report);

    // Indexes the file anew. An empty file is a valid one without chunks.
    [[nodiscard]] bool ScanFile();

    // The header of an empty AIFF file, over whatever chunks the index holds.
    void DefaultCreate();

    // --- Editing the chunks of a file (AIFFEdit.cpp) ---
    //
    // The index is the truth: headers are written where it puts the chunks. Only
    // RemoveChunkFromFile moves bytes, so growing or shrinking a chunk is right for the
    // last one alone. A failure is reported and leaves what was written before it.

    // Appends a chunk of zeros at the file's position, which the caller sets behind the
    // last chunk and its pad byte. The form's size is left for WriteChunkHeaders.
    [[nodiscard]] bool AddNewChunkToFile(const char* code, uint32_t size);

    // Makes a chunk hold `newSize` bytes, rounded up to even; 0 removes it. False when
    // it has that size already.
    [[nodiscard]] bool ResizeExistingChunkOnFile(int index, uint32_t newSize);

    // Removes a chunk, but not the pad byte of an odd one.
    [[nodiscard]] bool RemoveChunkFromFile(int index);

    // Removes several chunks, named by ascending indexes, with their pad bytes. Takes one
    // pass, where removing them one by one takes one each.
    [[nodiscard]] bool RemoveChunksFromFile(std::span<const int> indexes);

    // Writes the headers of the chunks that are marked for it, the form's header, and
    // ends the file behind the last chunk. With `onlyToSound` it stops behind the
    // header of the sound chunk.
    [[nodiscard]] bool WriteChunkHeaders(bool onlyToSound);

    // Writes bytes at the start of a chunk's data.
    [[nodiscard]] bool WriteChunkData(const STRIFFChunk& chunk, std::span<const uint8_t> bytes);

    // Inserts an entry into the index (-1: at the end) with a copy of its data.
    void AddChunk(const char* code, uint32_t size, const void* data, int index);

    // Marks the chunks from an index on for the next WriteChunkHeaders.
    void SetChunksToWrite(int first);

    // --- Writing a new file (AIFFWriter.cpp) ---
    //
    // InitializeNewAIFF; WriteSTSoundData; the samples, big-endian, with Write; then the
    // size of the sound chunk is set in the entry that FindChunkForWrite returns, and
    // WriteChunkHeaders(false), WriteChunksAfterData and WriteCOMMChunkData complete the
    // file. A failure is reported and leaves what was written before it.

    // Lays out a plain AIFF file in an empty one: the chunks to pass through, with a
    // COMM for `format` and an empty SSND among them. Writes all headers up to the
    // sound's and the data before it, and stands where the samples go.
    [[nodiscard]] bool InitializeNewAIFF(XFileHandle file, const STQvWaveFormat& format,
                                         const STNStdReport& report, const clPassAIFFChunks& pass);

    // Appends the 8 bytes in front of the samples to the file; 8, or 0 on failure.
    [[nodiscard]] int WriteSTSoundData();

    // Writes the data of the chunks behind the sound.
    [[nodiscard]] bool WriteChunksAfterData();

    // Writes the COMM chunk for a format and a count of sample bytes.
    [[nodiscard]] bool WriteCOMMChunkData(const STQvWaveFormat& format, int64_t soundBytes);

    // Makes the 18 bytes of a COMM chunk the data of an entry; false for a null one.
    [[nodiscard]] static bool UpdateCOMMChunkData(STRIFFChunk* chunk, const STQvWaveFormat& format,
                                                  int64_t soundBytes);

    // As FindChunkForRead; marks the headers of this chunk and of all behind it.
    STRIFFChunk* FindChunkForWrite(const char* text, bool fold);

    // --- Whether an edit would lose anything (AIFFEditCheck.cpp) ---

    // Makes the index cover the whole file, so that an edit keeps all of it: repairs
    // what only a size in a header says wrongly (reported as information), refuses
    // otherwise (reported as an error).
    [[nodiscard]] bool PrepareForEdit();

    // Whether a sound chunk holds more than the fields in front of the samples.
    bool HasSoundData() const;

    const STScanFindings& Findings() const { return m_findings; }

    // Empties the index, lets the file go and forgets the report.
    void Destroy();

    int Count() const { return static_cast<int>(m_chunks.size()); }

    // Null for an index outside the list. Valid until the list changes.
    const STRIFFChunk* GetChunk(int index) const;

    uint32_t GetFormType() const { return m_formType; }
    int64_t GetFormSize() const { return m_formSize; }
    // File offset behind the last chunk and its pad byte.
    int64_t GetFormEnd() const { return m_formSize + kChunkHeaderSize; }

    // First chunk with a code of four characters; -1 or null when there is none.
    // With `fold` the code may be spelled all in upper or all in lower case.
    int IndexOfChunk(const char* text) const;
    int IndexOfDataChunk() const { return IndexOfChunk(kChunkSound); }
    const STRIFFChunk* FindChunkForRead(const char* text, bool fold) const;

    static bool CompareID(uint32_t code, const char* text, bool fold);
    static uint32_t RIFFChnkID(const char* text) { return FourCC(text); }

    // The characters of a code; a zero byte ends them.
    static XStr RIFFChnkID2CHR(uint32_t code);

    // Big-endian fields of a file. SizeToInt reads 2 bytes, signed; SizeToInt64
    // reads 4 bytes, unsigned. The writers are meant for values that are not
    // negative.
    static int SizeToInt(const uint8_t* bytes);
    static int64_t SizeToInt64(const uint8_t* bytes);
    static void IntToSize(int16_t value, uint8_t* bytes);
    static void Int64ToSize(int64_t value, uint8_t* bytes);

    // An 80-bit extended number (10 bytes), cut to an integer toward zero. What 64
    // bits cannot hold, infinity and NaN give the lowest integer.
    static int64_t ConvertFromIeeeExtended(const uint8_t* bytes);
    static void ConvertToIeeeExtended(double value, uint8_t* bytes);

    // Wave format tag of an AIFF-C compression type; kTagUnknown for others.
    static uint16_t CompID2WFXFormatTag(uint32_t code);

    // Turns the used bytes of a block from file order to host order or back:
    // samples of 16, 24 and 32 bits are reversed, 8-bit ones change between signed
    // and unsigned, other widths and a trailing partial sample stay as they are.
    static void ByteSwap(XMem& block, int bitsPerSample);

private:
    // Texts of failures that several operations report.
    static constexpr const wchar_t* kDiskFull = L"Error writing to file, disk full?";
    static constexpr const wchar_t* kNoPosition = L"Error Setting File Position.";

    // Places the chunks back to back; those before `first` are placed already.
    void CalcAllChunks(int first = 0);
    int FindIndex(const char* text, bool fold) const;
    bool IndexChunks(int64_t fileSize);
    STRIFFChunk* FindChunk(const char* text);
    void LayOut(const clPassAIFFChunks& pass);
    bool WriteChunksBeforeSound();
    bool WriteHeader(const STRIFFChunk& chunk);
    bool WriteFormHeader(int64_t formSize);
    bool IndexWholeFile();
    bool MayHideSound() const;
    bool CorrectLastChunk();
    bool Refuse(const wchar_t* reason) const;

    uint32_t m_formCode = FourCC(kChunkForm);
    int64_t m_formSize = 0; // bytes behind the 8-byte header of the form
    uint32_t m_formType = FourCC(kFormTypeAIFF);
    std::vector<STRIFFChunk> m_chunks;
    STScanFindings m_findings;
    STNStdReport m_report = {};
};

// Wave format tags of AIFF-C compression types.
inline constexpr uint16_t kTagPCM = 1;
inline constexpr uint16_t kTagFloat = 3;
inline constexpr uint16_t kTagALaw = 6;
inline constexpr uint16_t kTagMuLaw = 7;
inline constexpr uint16_t kTagLittleEndianPCM = 0x3000; // decoded as kTagPCM, not swapped
inline constexpr uint16_t kTagUnknown = 0xFFFF;
