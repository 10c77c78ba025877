/* SPDX-License-Identifier: MIT */
/*
 * qvcodec.h - the boundary between an audio host and a decoder plug-in.
 *
 * A host loads a decoder (AIFF.so) with dlopen, looks up the nine functions of
 * QV_DECODER_FUNCTIONS by their plain names and exchanges the packed records
 * below with it. Valid C99 and C++11, and all later ones.
 *
 * Conventions of the whole interface
 *   - Every function returns 1 for success and 0 for failure. A null handle
 *     gives 0, except that Destroy of a null handle gives 1.
 *   - The host owns every record. The plug-in reads and fills in the fields named
 *     below. It never frees or keeps a pointer that the host placed in a record,
 *     and the host never frees a pointer that the plug-in placed in one.
 *   - Records are packed, integers little-endian, pointers 64 bits wide: a field
 *     may be unaligned, so copy it and never take its address.
 *   - Wide strings are zero-terminated wchar_t strings of 32-bit code points.
 *     In a file name, U+DC80..U+DCFF represents the raw byte 0x80..0xFF of a
 *     name that is not valid UTF-8.
 *   - An instance is used by one thread at a time; instances are independent. A
 *     thread cannot be cancelled (pthread_cancel) within a call, only after it.
 *
 * Calling order
 *   Create, [Set QV_KEY_SET_DECODE_RANGE], Open, then DecodeBlock until a block
 *   has nLastBlock set, with SetPosition in between as needed; Close; Destroy.
 *   Get, Set QV_KEY_ID_TAGS and DeleteATag may be called at any time between
 *   Create and Destroy. Use one instance per file.
 */
#ifndef QVCODEC_H
#define QVCODEC_H

#include <stddef.h>
#include <stdint.h>
#include <wchar.h>

#ifdef __cplusplus
extern "C" {
#define QV_STATIC_ASSERT(condition, text) static_assert(condition, text)
#elif __STDC_VERSION__ >= 201112L
#define QV_STATIC_ASSERT(condition, text) _Static_assert(condition, text)
#else /* C99: a type of a negative size unless the condition holds */
#define QV_STATIC_ASSERT_NAME(line) QvStaticAssert##line
#define QV_STATIC_ASSERT_AT(line, condition)                                                       \
    typedef char QV_STATIC_ASSERT_NAME(line)[(condition) ? 1 : -1]
#define QV_STATIC_ASSERT(condition, text) QV_STATIC_ASSERT_AT(__LINE__, condition)
#endif

/* ---- Flags of STQvOpenDecoder.nFlags, combined with | --------------------- */

/* Fill in the audio information and get ready to decode from the start of the range. */
#define QV_OPEN_PREPARE_DECODE 1u
/* The host supplies packets. Not supported: Open fails at once. */
#define QV_OPEN_EXTERNAL_PACKETS 2u
/* Fill in the audio information only. */
#define QV_OPEN_AUDIO_INFO 4u
/* Read the tags into pTagData. */
#define QV_OPEN_READ_TAGS 8u
/* Build the audio properties into pPropertiesData. */
#define QV_OPEN_PROPERTIES 16u

/* ---- Keys of Get (compared exactly) --------------------------------------- */

/* Item nItemIndex of a list, counted from 0: pText1 = file name extension with its
 * dot, pText2 = name of the format. Get returns 0 past the last item. */
#define QV_KEY_DECODES L"Decodes"
/* Item nItemIndex of a list, counted from 0: pText1 = MIME type. Get returns 0 past
 * the last item. */
#define QV_KEY_STREAMING_DECODES L"StreamingDecodes"
/* pText1 = name of the decoder, for display. */
#define QV_KEY_DECODER_DESCRIPTION L"Decoder Description"

/* ---- Keys of Set (compared exactly) --------------------------------------- */

/* nValue1, nValue2 = decode range, in sample frames; takes effect at the next Open. */
#define QV_KEY_SET_DECODE_RANGE L"Set Decode Range"
/* pText1 = file name, pData and nDataSize = tag blob to write into that file. */
#define QV_KEY_ID_TAGS L"IDTags"
/* nValue1 = 1, the default: a file whose tags are changed in place shows the old tags or the new
 * ones also after a loss of power, and the new ones once the function has returned; 0: only when
 * the program ends in the middle, which saves waiting for the disk. Other values give 0. */
#define QV_KEY_DURABLE_EDITS L"Durable Edits"

/* nValue1 = 1: a stream gives what the same data gives as a file: its blocks begin with the
 * first sample, and the properties include "Encoder Settings" and "Wave Header". Where a stream
 * breaks off, the whole sample frames before come as a short block, and the next DecodeBlock
 * fails. A stream of unknown length ends with its last whole sample frame.
 * nValue1 = 0 (at first): blocks begin with the 8 bytes of the sound chunk's own offset and
 * block size, as if they were samples, which shifts all that follow in their frames; a block
 * that cannot be read whole is lost. Takes effect at the next Open. Set returns 0 for other
 * values, as decoders do that do not know the key. */
#define QV_KEY_EXACT_STREAMS L"Exact Streams"

/* nValue2 of a decode range that extends to the end of the audio. */
#define QV_RANGE_TO_END (-1)

/* nFormatTag of all decoded audio: integer PCM. */
#define QV_FORMAT_PCM 1

/* ---- Records --------------------------------------------------------------- */

#pragma pack(push, 1)

/*
 * The format of the audio, as large as a WAVEFORMATEXTENSIBLE. The plug-in writes
 * the first 18 bytes (up to nExtraSize); the rest keeps what the host put there.
 */
typedef struct STQvWaveFormat {
    uint16_t nFormatTag;      /* plug-in: always QV_FORMAT_PCM once prepared */
    uint16_t nChannels;       /* plug-in: channels, interleaved */
    uint32_t nSamplesPerSec;  /* plug-in: sample frames per second */
    uint32_t nAvgBytesPerSec; /* plug-in: bytes per second */
    uint16_t nBlockAlign;     /* plug-in: bytes per sample frame */
    uint16_t nBitsPerSample;  /* plug-in: bits; 8-bit samples are unsigned, but signed
                                 where the input is little-endian */
    uint16_t nExtraSize;      /* plug-in: 0 */
    uint16_t nValidBits;      /* host: not touched */
    uint32_t nChannelMask;    /* host: not touched */
    uint8_t SubFormat[16];    /* host: not touched */
} STQvWaveFormat;

/* Size in bytes of the first part, which the plug-in writes. */
#define QV_WAVE_FORMAT_BASIC_SIZE 18

/* The format of the audio and the length of the decode range. */
typedef struct STQvAudioInfo {
    STQvWaveFormat WaveFormat; /* plug-in */
    uint32_t nBitRate;         /* plug-in: bits per second */
    int64_t nLengthMS;         /* plug-in: milliseconds of the decode range, truncated */
    int64_t nLengthBytes;      /* plug-in: PCM bytes of the decode range */
} STQvAudioInfo;

/* What the host asks of Open, and what Open fills in. */
typedef struct STQvOpenDecoder {
    const wchar_t* pFileName;       /* host: path, or a URL that begins with "http://";
                                       null makes Open fail */
    uint32_t nFlags;                /* host: any of QV_OPEN_... */
    STQvAudioInfo AudioInfo;        /* plug-in: with QV_OPEN_PREPARE_DECODE or
                                       QV_OPEN_AUDIO_INFO */
    uint64_t nReserved;             /* not used */
    const uint8_t* pTagData;        /* plug-in: tag blob, with QV_OPEN_READ_TAGS; owned by the
                                       instance until the next Open, Close or Destroy */
    uint32_t nTagDataSize;          /* plug-in: bytes at pTagData */
    const uint8_t* pPropertiesData; /* plug-in: properties as a tag blob, with
                                       QV_OPEN_PROPERTIES; owned like pTagData */
    uint32_t nPropertiesDataSize;   /* plug-in: bytes at pPropertiesData */
} STQvOpenDecoder;

/* One block of decoded audio: at most 65536 bytes of whole sample frames. The last block may
 * end within a frame, but only when the sound data does and the decode range has an explicit
 * end that lies past it. */
typedef struct STQvAudioBlock {
    const uint8_t* pData;      /* plug-in: little-endian PCM; owned by the instance until the
                                  next DecodeBlock, SetPosition, Close or Destroy */
    uint32_t nDataSize;        /* plug-in: bytes at pData */
    STQvWaveFormat WaveFormat; /* plug-in: format of this block */
    uint32_t nBitRate;         /* plug-in: bits per second */
    int64_t nDurationMS;       /* plug-in: length of this block in milliseconds */
    uint64_t nReserved[2];     /* not used */
    int64_t nPositionMS;       /* plug-in: milliseconds from the start of the decode range
                                  to the start of this block */
    int32_t nLastBlock;        /* plug-in: 1 when no audio remains after this block. Such a
                                  block may also carry none: pData and nDataSize are then
                                  left alone, so clear the record before each call */
} STQvAudioBlock;

/* The arguments of Get and Set, and the answers of Get. */
typedef struct STQvCodecGetSet {
    uint32_t nItemIndex;   /* host: which item of a list, from 0 */
    int32_t nDataSize;     /* host: bytes at pData */
    int64_t nValue1;       /* host: first sample frame of a decode range; 0 or 1 */
    int64_t nValue2;       /* host: end sample frame (exclusive), or QV_RANGE_TO_END */
    const wchar_t* pText1; /* Get: answer, owned by the instance until the next Get or
                              Destroy; Set: file name */
    const wchar_t* pText2; /* Get: second answer, owned like pText1 */
    uint64_t nReserved;    /* not used */
    const uint8_t* pData;  /* host: tag blob to write */
} STQvCodecGetSet;

/* Passed to Close; decoders ignore its contents. */
typedef struct STQvEncoderFluid {
    uint8_t nReserved[60]; /* host */
} STQvEncoderFluid;

/*
 * Where an instance writes its report. Each handle is a POSIX file descriptor
 * widened to pointer size; null or QV_INVALID_HANDLE turns that output off.
 * The plug-in copies the handles and never closes them. Lines are UTF-8 and end
 * with CR LF.
 */
typedef struct STNStdReport {
    void* hError;       /* host: errors */
    void* hInformation; /* host: tolerated irregularities */
    void* hDebug;       /* host: trace of all operations, with copies of the above */
} STNStdReport;

#pragma pack(pop)

#ifdef __cplusplus
#define QV_INVALID_HANDLE (reinterpret_cast<void*>(intptr_t{-1}))
#else
#define QV_INVALID_HANDLE ((void*)(intptr_t)-1)
#endif

/* ---- Layout, checked in every program that includes this header ------------ */

#define QV_FIELD(record, field, offset)                                                            \
    QV_STATIC_ASSERT(offsetof(record, field) == (offset), #record "." #field " moved")
#define QV_RECORD(record, size)                                                                    \
    QV_STATIC_ASSERT(sizeof(record) == (size), #record " has another size")

QV_STATIC_ASSERT(sizeof(wchar_t) == 4, "wide strings hold 32-bit code points");
QV_STATIC_ASSERT(sizeof(void*) == 8, "pointers are 64 bits wide");

QV_FIELD(STQvWaveFormat, nFormatTag, 0);
QV_FIELD(STQvWaveFormat, nChannels, 2);
QV_FIELD(STQvWaveFormat, nSamplesPerSec, 4);
QV_FIELD(STQvWaveFormat, nAvgBytesPerSec, 8);
QV_FIELD(STQvWaveFormat, nBlockAlign, 12);
QV_FIELD(STQvWaveFormat, nBitsPerSample, 14);
QV_FIELD(STQvWaveFormat, nExtraSize, 16);
QV_FIELD(STQvWaveFormat, nValidBits, 18);
QV_FIELD(STQvWaveFormat, nChannelMask, 20);
QV_FIELD(STQvWaveFormat, SubFormat, 24);
QV_RECORD(STQvWaveFormat, 40);

QV_FIELD(STQvAudioInfo, WaveFormat, 0);
QV_FIELD(STQvAudioInfo, nBitRate, 40);
QV_FIELD(STQvAudioInfo, nLengthMS, 44);
QV_FIELD(STQvAudioInfo, nLengthBytes, 52);
QV_RECORD(STQvAudioInfo, 60);

QV_FIELD(STQvOpenDecoder, pFileName, 0);
QV_FIELD(STQvOpenDecoder, nFlags, 8);
QV_FIELD(STQvOpenDecoder, AudioInfo, 12);
QV_FIELD(STQvOpenDecoder, nReserved, 72);
QV_FIELD(STQvOpenDecoder, pTagData, 80);
QV_FIELD(STQvOpenDecoder, nTagDataSize, 88);
QV_FIELD(STQvOpenDecoder, pPropertiesData, 92);
QV_FIELD(STQvOpenDecoder, nPropertiesDataSize, 100);
QV_RECORD(STQvOpenDecoder, 104);

QV_FIELD(STQvAudioBlock, pData, 0);
QV_FIELD(STQvAudioBlock, nDataSize, 8);
QV_FIELD(STQvAudioBlock, WaveFormat, 12);
QV_FIELD(STQvAudioBlock, nBitRate, 52);
QV_FIELD(STQvAudioBlock, nDurationMS, 56);
QV_FIELD(STQvAudioBlock, nReserved, 64);
QV_FIELD(STQvAudioBlock, nPositionMS, 80);
QV_FIELD(STQvAudioBlock, nLastBlock, 88);
QV_RECORD(STQvAudioBlock, 92);

QV_FIELD(STQvCodecGetSet, nItemIndex, 0);
QV_FIELD(STQvCodecGetSet, nDataSize, 4);
QV_FIELD(STQvCodecGetSet, nValue1, 8);
QV_FIELD(STQvCodecGetSet, nValue2, 16);
QV_FIELD(STQvCodecGetSet, pText1, 24);
QV_FIELD(STQvCodecGetSet, pText2, 32);
QV_FIELD(STQvCodecGetSet, nReserved, 40);
QV_FIELD(STQvCodecGetSet, pData, 48);
QV_RECORD(STQvCodecGetSet, 56);

QV_FIELD(STQvEncoderFluid, nReserved, 0);
QV_RECORD(STQvEncoderFluid, 60);

QV_FIELD(STNStdReport, hError, 0);
QV_FIELD(STNStdReport, hInformation, 8);
QV_FIELD(STNStdReport, hDebug, 16);
QV_RECORD(STNStdReport, 24);

#undef QV_FIELD
#undef QV_RECORD

/* ---- Tag blob --------------------------------------------------------------- *
 *
 * Tags and audio properties travel as one block, integers little-endian:
 *
 *   int32 item count, then per item
 *     int32    size of the item in bytes, these four included
 *     uint16[] name, zero-terminated
 *     uint16[] value, zero-terminated; several values are joined with U+000D
 *     uint8[]  data: the rest of the item (a picture, else empty)
 *
 * Pictures are items named "_albumart_<index>_<role>[<subdesc><text>]". An item with the
 * version of the tag is for reading only. L"" in front makes these texts wide.
 */
#define QV_TAG_PICTURE_PREFIX "_albumart_"
#define QV_TAG_SUBDESCRIPTION "<subdesc>"
#define QV_TAG_VERSION "TagVersion"

/* ---- The nine functions ------------------------------------------------------ */

/* Creates an instance with a copy of the report's handles (null: no report). Returns
 * its handle, to be freed with Destroy, or null when memory is short. */
typedef void* (*tQvCreate)(const STNStdReport* pReport);

/* Closes what is open, and frees the instance and all blocks and texts it returned. */
typedef int32_t (*tQvDestroy)(void* hDecoder);

/* Answers one of the keys of Get in pGetSet. 0, with pGetSet unchanged, for an unknown
 * key and past the end of a list. */
typedef int32_t (*tQvGet)(void* hDecoder, const wchar_t* pKey, STQvCodecGetSet* pGetSet);

/* Carries out one of the keys of Set with the values in pGetSet. 0 for an unknown key or
 * missing values, and when tags cannot be written, for which the report gives the
 * reason. */
typedef int32_t (*tQvSet)(void* hDecoder, const wchar_t* pKey, STQvCodecGetSet* pGetSet);

/* Opens the input and does what the flags ask for. After a failure only Close and
 * Destroy are useful.
 *
 * No call waits for ever for the server of a stream. It fails when the server cannot be
 * connected to within 10 seconds, sends nothing for 30 seconds, or takes longer than 60
 * seconds for all of an Open (redirects and the header of the audio included), for a
 * SetPosition or for a block. Two things are not in the 60 seconds of an Open: a name is
 * looked up for as long as the system's resolver tries, and where the server cannot be
 * asked for a range, each 64 KiB before the decode range have 60 seconds of their own. */
typedef int32_t (*tQvOpen)(void* hDecoder, STQvOpenDecoder* pOpen);

/* Closes the input, also after a failed Open. Returns 1. */
typedef int32_t (*tQvClose)(void* hDecoder, STQvEncoderFluid* pFluid);

/* Decodes the next block. 0 when the sound data cannot be read; the position is then
 * unchanged. */
typedef int32_t (*tQvDecodeBlock)(void* hDecoder, STQvAudioBlock* pBlock);

/* Moves to a sample frame, 0 or more, counted from the start of the decode range; one
 * past its end lands at the end. 0 when the input is a stream that cannot be sought. */
typedef int32_t (*tQvSetPosition)(void* hDecoder, int64_t nFrame);

/* Deletes tags from a file that is not open. pNames is a packed list of
 * zero-terminated names that ends with an empty one; null or an empty list deletes all
 * tags. 0 when the file cannot be changed; the report then says why. */
typedef int32_t (*tQvDeleteATag)(void* hDecoder, const wchar_t* pFileName, const wchar_t* pNames);

/* X(function name, function type) for every exported function. */
#define QV_DECODER_FUNCTIONS(X)                                                                    \
    X(Create, tQvCreate)                                                                           \
    X(Destroy, tQvDestroy)                                                                         \
    X(Get, tQvGet)                                                                                 \
    X(Set, tQvSet)                                                                                 \
    X(Open, tQvOpen)                                                                               \
    X(Close, tQvClose)                                                                             \
    X(DecodeBlock, tQvDecodeBlock)                                                                 \
    X(SetPosition, tQvSetPosition)                                                                 \
    X(DeleteATag, tQvDeleteATag)

#ifdef __cplusplus
}
#endif

#endif
