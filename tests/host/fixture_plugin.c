// SPDX-License-Identifier: MIT

// A decoder made for tests, built once for each fault. The scripted one reads files
// of the form "FIXTURE key=number ...", 16 bit mono at 8000 Hz, every sample 0x0101:
//   blocks  number of blocks of 1000 bytes      promise  bytes it says there are
//   fail    block that cannot be decoded        bits     bits per sample it says
//   pause   milliseconds taken for each block   noise    error lines written by Open
#define _POSIX_C_SOURCE 200809L
#include "qvcodec.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

#define BLOCK_SIZE 1000

typedef struct Instance {
    int error;
    long blocks, promise, fail, bits, pause, next;
    uint8_t data[BLOCK_SIZE];
} Instance;

void* Create(const STNStdReport* pReport)
{
    Instance* instance = calloc(1, sizeof *instance);
    instance->error = (int)(intptr_t)pReport->hError;
    memset(instance->data, 1, sizeof instance->data);
#ifdef FIXTURE_REFUSING
    free(instance), instance = NULL;
#endif
    return instance;
}

int32_t Destroy(void* hDecoder)
{
    free(hDecoder);
    return 1;
}

int32_t Get(void* hDecoder, const wchar_t* pKey, STQvCodecGetSet* pGetSet)
{
    const int isStream = wcscmp(pKey, QV_KEY_STREAMING_DECODES) == 0;
    pGetSet->pText1 = isStream ? L"audio/x-Fixture" : L".Fix";
    pGetSet->pText2 = L"Fixture";
#if defined FIXTURE_NOTHING
    return 0;
#elif defined FIXTURE_ENDLESS
    return 1;
#else
    return pGetSet->nItemIndex == 0;
#endif
}

int32_t Set(void* hDecoder, const wchar_t* pKey, STQvCodecGetSet* pGetSet)
{
    return 1;
}

static long Number(const char* script, const char* key, long otherwise)
{
    const char* found = strstr(script, key);
    return found != NULL ? atol(found + strlen(key)) : otherwise;
}

int32_t Open(void* hDecoder, STQvOpenDecoder* pOpen)
{
    Instance* instance = hDecoder;
    char name[4096], script[256] = "";
    wcstombs(name, pOpen->pFileName, sizeof name);
    FILE* file = fopen(name, "r");
    if (file != NULL && fgets(script, sizeof script, file) != NULL)
        fclose(file);
    for (long i = Number(script, "noise=", 0); i > 0; --i)
        dprintf(instance->error, "Error of the fixture.  [Open]\r\n");
    if (strncmp(script, "FIXTURE", 7) != 0)
        return 0;
    instance->blocks = Number(script, "blocks=", 1);
    instance->fail = Number(script, "fail=", -1);
    instance->pause = Number(script, "pause=", 0);
    const uint16_t bits = (uint16_t)Number(script, "bits=", 16);
    pOpen->AudioInfo =
        (STQvAudioInfo){.WaveFormat = {QV_FORMAT_PCM, 1, 8000, 16000, 2, bits, 0, 0, 0, {0}},
                        .nLengthBytes = Number(script, "promise=", instance->blocks * BLOCK_SIZE)};
    return 1;
}

int32_t Close(void* hDecoder, STQvEncoderFluid* pFluid)
{
    return 1;
}

int32_t DecodeBlock(void* hDecoder, STQvAudioBlock* pBlock)
{
    Instance* instance = hDecoder;
    const struct timespec pause = {0, instance->pause * 1000000};
    nanosleep(&pause, NULL);
    if (instance->next == instance->fail)
        return 0;
    pBlock->pData = instance->data;
    pBlock->nDataSize = BLOCK_SIZE;
    pBlock->nLastBlock = ++instance->next >= instance->blocks;
    return 1;
}

#ifndef FIXTURE_LACKING
int32_t SetPosition(void* hDecoder, int64_t nFrame)
{
    return 0;
}
#endif

int32_t DeleteATag(void* hDecoder, const wchar_t* pFileName, const wchar_t* pNames)
{
    return 0;
}
