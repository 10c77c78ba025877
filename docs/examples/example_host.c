/* SPDX-License-Identifier: MIT */
/* The smallest useful host: decodes an AIFF file to raw little-endian PCM.
 *
 *   cc example_host.c $(pkg-config --cflags --libs qvcodec) -o example_host
 *   ./example_host path/to/AIFF.so song.aiff > song.pcm
 */
#include "qvcodec.h"

#include <dlfcn.h>
#include <locale.h>
#include <stdio.h>
#include <stdlib.h>

/* One variable for each function of the plug-in, looked up by its name. */
#define DECLARE(name, type) static type p##name;
QV_DECODER_FUNCTIONS(DECLARE)

static int load(const char* path)
{
    void* library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    if (library == NULL)
        return 0;
#define FIND(name, type) *(void**)&p##name = dlsym(library, #name);
    QV_DECODER_FUNCTIONS(FIND)
#define MISSING(name, type) || p##name == NULL
    return !(0 QV_DECODER_FUNCTIONS(MISSING));
}

int main(int argc, char** argv)
{
    wchar_t name[4096];
    /* For mbstowcs only; the first name is known to Linux, the second to macOS. */
    if (setlocale(LC_CTYPE, "C.UTF-8") == NULL)
        setlocale(LC_CTYPE, "UTF-8");
    if (argc != 3 || mbstowcs(name, argv[2], 4096) >= 4096) {
        fprintf(stderr, "usage: %s AIFF.so FILE\n", argv[0]);
        return 2;
    }
    if (!load(argv[1])) {
        fprintf(stderr, "%s: no decoder plug-in\n", argv[1]);
        return 1;
    }
    STNStdReport report = {0};
    report.hError = (void*)(intptr_t)2; /* errors go to standard error */
    void* decoder = pCreate(&report);

    STQvOpenDecoder open = {0};
    open.pFileName = name;
    open.nFlags = QV_OPEN_PREPARE_DECODE;
    int ok = pOpen(decoder, &open);
    if (ok)
        fprintf(stderr, "%u Hz, %u channels, %u bits, %lld ms\n",
                (unsigned)open.AudioInfo.WaveFormat.nSamplesPerSec,
                (unsigned)open.AudioInfo.WaveFormat.nChannels,
                (unsigned)open.AudioInfo.WaveFormat.nBitsPerSample,
                (long long)open.AudioInfo.nLengthMS);
    for (int last = 0; ok && !last;) {
        STQvAudioBlock block = {0}; /* the last block may carry no audio */
        ok = pDecodeBlock(decoder, &block) &&
             fwrite(block.pData, 1, block.nDataSize, stdout) == block.nDataSize;
        last = block.nLastBlock;
    }
    STQvEncoderFluid fluid = {{0}};
    pClose(decoder, &fluid);
    pDestroy(decoder);
    return ok ? 0 : 1;
}
