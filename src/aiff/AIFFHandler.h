// SPDX-License-Identifier: MIT

// The chunk structure of an AIFF or AIFF-C file. Each part of the handler has a source of its
// own: AIFFHandler*.cpp, and ByteSwap.cpp for the order of the sample bytes.
#pragma once

#include "aiff/FourCC.h"
#include "support/StdReport.h"
#include "support/XMem.h"
#include "support/file/XFile.h"

#include <vector>

namespace aiff
{

class clPassAIFFChunks;

// One chunk. Positions assume that the chunks lie back to back from offset 12 on, each
// padded to an even length. A file may consist of millions of them, so what only a file to be
// written needs, their data, is kept by the handler.
struct STRIFFChunk {
    uint32_t ID = 0;              // code, its first character in the low byte
    uint32_t bWrite : 1 = 0;      // whether the next WriteChunkHeaders writes its header
    uint32_t nData : 31 = 0;      // number of its data in memory, counted from 1; 0: none
    int64_t nSize = 0;            // data bytes, the pad byte not counted
    int64_t ChunkPosition = 0;    // file offset of the 8-byte header
    int64_t FileDataPosition = 0; // file offset of the data
};
static_assert(sizeof(STRIFFChunk) == 32);

// The most chunks that a scan lists, and that an edit leaves in a file.
inline constexpr int kMostChunks = 1 << 20;

// What a scan found that an edit needs to know. Sizes are in bytes.
struct ScanFindings {
    int64_t fileSize = 0;
    int64_t formSize = 0;    // as the form's header has it
    bool endedEarly = false; // not all headers could be read, or they are too many
    bool cutToForm = false;  // a chunk claimed more than the form holds
    bool cutToFile = false;  // a chunk claimed more than the file holds
    bool isWhole = false;    // the chunks fill the form, and the form the file
};

// A file with an index of its chunks. Initialize makes the index once; it says nothing
// about the contents of the chunks.
class clAIFFHandler : public XFile
{
public:
    // Indexes an open file. False, with the reason reported, when it is no AIFF file or
    // cannot be read. Sizes that disagree with each other or with the file are repaired
    // in the index and reported. A list of kMostChunks ends there, which is reported as an
    // error but no failure.
    [[nodiscard]] bool Initialize(XFileHandle file, const STNStdReport& report);

    // Indexes the file again. An empty file is accepted and leaves the index as it is.
    [[nodiscard]] bool ScanFile();

    // Sets the form's code and type to those of a plain AIFF file and lays out whatever
    // chunks the index holds.
    void DefaultCreate();

    // --- Editing the chunks of a file (AIFFHandlerEdit.cpp) ---
    //
    // The index is authoritative: headers are written where it places the chunks. Only
    // removing a chunk moves bytes, so resizing is correct for the last chunk alone. A
    // failure is reported and does not undo what was written before it.

    // Appends a chunk of `size` zero bytes at the file's position, which the caller sets
    // to the end of the last chunk and its pad byte. The form's size is left to the next
    // WriteChunkHeaders.
    [[nodiscard]] bool AddNewChunkToFile(const char* code, uint32_t size);

    // Changes the size of a chunk to `newSize` bytes, rounded up to even; 0 removes it.
    // False also when it has that size already.
    [[nodiscard]] bool ResizeExistingChunkOnFile(int index, uint32_t newSize);

    // Removes a chunk, but not the pad byte of one with an odd size.
    [[nodiscard]] bool RemoveChunkFromFile(int index);

    // Removes several chunks, given by ascending indexes, and their pad bytes in a single
    // pass over the file.
    [[nodiscard]] bool RemoveChunksFromFile(std::span<const int> indexes);

    // Writes the headers of the chunks marked for it and the form's header, and makes the
    // file end after the last chunk. With `onlyToSound` it stops after the header of the
    // sound chunk.
    [[nodiscard]] bool WriteChunkHeaders(bool onlyToSound);

    // Writes bytes at the start of a chunk's data, without a pad byte.
    [[nodiscard]] bool WriteChunkData(const STRIFFChunk& chunk, std::span<const uint8_t> bytes);

    // Inserts an entry into the index at `index` (-1: at the end), marked for writing, with
    // a copy of its data (null: none). Writes nothing to the file.
    void AddChunk(const char* code, uint32_t size, const void* data, int index);

    // Marks the chunks from an index on for the next WriteChunkHeaders.
    void SetChunksToWrite(int first);

    // --- Writing a new file (AIFFHandlerWrite.cpp) ---
    //
    // The order of calls: InitializeNewAIFF; WriteSTSoundData; Write with the samples,
    // big-endian; then set the size of the sound chunk in the entry that
    // FindChunkForWrite returns, and complete the file with WriteChunkHeaders(false),
    // WriteChunksAfterData and WriteCOMMChunkData. A failure is reported and does not undo
    // what was written before it.

    // Lays out a plain AIFF file in an empty one: the chunks to pass through, among them a
    // COMM for `format` and an empty SSND. Writes all headers up to that of the sound and
    // the data before it, and leaves the file positioned where the samples go.
    [[nodiscard]] bool InitializeNewAIFF(XFileHandle file, const STQvWaveFormat& format,
                                         const STNStdReport& report, const clPassAIFFChunks& pass);

    // Appends the 8 bytes that precede the samples to the file. Returns 8, or 0 on failure.
    [[nodiscard]] int WriteSTSoundData();

    // Writes the data of the chunks after the sound.
    [[nodiscard]] bool WriteChunksAfterData();

    // Writes the COMM chunk for a format and `soundBytes` bytes of samples.
    [[nodiscard]] bool WriteCOMMChunkData(const STQvWaveFormat& format, int64_t soundBytes);

    // Makes the 18 bytes of a COMM chunk the data of an entry. False when `chunk` is null
    // or memory is short.
    [[nodiscard]] bool UpdateCOMMChunkData(STRIFFChunk* chunk, const STQvWaveFormat& format,
                                           int64_t soundBytes);

    // Like FindChunkForRead; also marks this chunk and all after it for the next
    // WriteChunkHeaders.
    STRIFFChunk* FindChunkForWrite(const char* text, bool fold);

    // --- Whether an edit would lose anything (AIFFHandlerEditCheck.cpp) ---

    // Whether the index lists all chunks that the form has. Otherwise reports as an error
    // that the file is left as it is.
    [[nodiscard]] bool CheckComplete() const;

    // Makes the index cover the whole file, so that an edit keeps all of it: corrects a
    // file in which only a size in a header is wrong (reported as information), refuses
    // any other that it does not cover (reported as an error).
    [[nodiscard]] bool PrepareForEdit();

    // Whether a sound chunk holds more than the fields before the samples.
    bool HasSoundData() const;

    // Whether a sound chunk starts at a position or after it.
    bool HasSoundFrom(int64_t position) const;

    // Whether the scan found chunks that fill the form, and a form that fills the file.
    bool WasWhole() const { return m_findings.isWhole; }

    // Whether a chunk is a filler that an edit in place left when it was cut short.
    bool IsLeftFiller(int index) const;

    // Whether past the form's end lies what an edit in place prepared when it was cut short: it
    // is none of the file's chunks yet, and need not be complete.
    bool HoldsUnfinishedEdit() const;

    // Empties the index, closes the file and forgets the report.
    void Destroy();

    int Count() const { return static_cast<int>(m_chunks.size()); }

    // Null for an index outside the list. The entry is valid until the list changes.
    const STRIFFChunk* GetChunk(int index) const;

    uint32_t GetFormType() const { return m_formType; }
    int64_t GetFormSize() const { return m_formSize; }
    // File offset of the end of the last chunk and its pad byte.
    int64_t GetFormEnd() const { return m_formSize + kChunkHeaderSize; }

    // The first chunk with a code of four characters; -1 or null when there is none. With
    // `fold`, as in IndexOfChunk, the code may be all upper or all lower case.
    int IndexOfChunk(const char* text) const;
    int IndexOfDataChunk() const { return IndexOfChunk(kChunkSound); }
    const STRIFFChunk* FindChunkForRead(const char* text, bool fold) const;

    static bool CompareID(uint32_t code, const char* text, bool fold);
    static uint32_t RIFFChnkID(const char* text) { return FourCC(text); }

    // The characters of a code, up to the first zero byte.
    static XStr RIFFChnkID2CHR(uint32_t code);

    // Big-endian fields: SizeToInt reads 2 bytes, signed; SizeToInt64 reads 4 bytes,
    // unsigned; the writers, which are meant for values of 0 and more, write as many.
    static int SizeToInt(const uint8_t* bytes);
    static int64_t SizeToInt64(const uint8_t* bytes);
    static void IntToSize(int16_t value, uint8_t* bytes);
    static void Int64ToSize(int64_t value, uint8_t* bytes);

    // Converts from and to an 80-bit extended number (10 bytes). Reading truncates toward
    // zero; infinity, NaN and what 64 bits cannot hold give the lowest integer.
    static int64_t ConvertFromIeeeExtended(const uint8_t* bytes);
    static void ConvertToIeeeExtended(double value, uint8_t* bytes);

    // Wave format tag of an AIFF-C compression type; kTagUnknown for others.
    static uint16_t CompID2WFXFormatTag(uint32_t code);

    // Converts bytes of sound between file order and host order, in place: samples of 16, 24
    // and 32 bits are reversed, 8-bit ones change between signed and unsigned. Other widths
    // and a partial sample at the end stay as they are.
    static void ByteSwap(std::span<uint8_t> sound, int bitsPerSample);

private:
    // Texts of failures that several operations report.
    static constexpr const wchar_t* kDiskFull = L"Error writing to file, disk full?";
    static constexpr const wchar_t* kNoPosition = L"Error Setting File Position.";

    // Places the chunks back to back; those before `first` keep their positions.
    void CalcAllChunks(int first = 0);
    int FindIndex(const char* text, bool fold) const;
    bool IndexChunks(int64_t fileSize);
    STRIFFChunk* FindChunk(const char* text);
    void LayOutChunks(const clPassAIFFChunks& pass);
    XMem& DataFor(STRIFFChunk& chunk);
    bool WriteHeldData(const STRIFFChunk& chunk);
    bool WriteChunksBeforeSound();
    bool WriteHeader(const STRIFFChunk& chunk);
    bool WriteFormHeader(int64_t formSize);
    bool IndexWholeFile();
    bool MayHideSound() const;
    bool CorrectLastChunk();
    bool Refuse(const wchar_t* reason) const;

    uint32_t m_formCode = FourCC(kChunkForm);
    int64_t m_formSize = 0; // bytes after the form's code and size
    uint32_t m_formType = FourCC(kFormTypeAIFF);
    std::vector<STRIFFChunk> m_chunks;
    std::vector<XMem> m_data; // of the chunks that have a number
    ScanFindings m_findings;
    STNStdReport m_report = {};
};

// Wave format tags of AIFF-C compression types.
inline constexpr uint16_t kTagPCM = QV_FORMAT_PCM;
inline constexpr uint16_t kTagFloat = 3;
inline constexpr uint16_t kTagALaw = 6;
inline constexpr uint16_t kTagMuLaw = 7;
inline constexpr uint16_t kTagLittleEndianPCM = 0x3000; // decoded as kTagPCM, not swapped
inline constexpr uint16_t kTagUnknown = 0xFFFF;

} // namespace aiff
