// SPDX-License-Identifier: MIT

/* Decodes one stream through the plug-in as a host does, report off, and prints the
 * bytes of audio and by how many KiB the process has grown since before Create, looked
 * at after each 256th block and the last. The audio goes into a file if one is named. */
#include "qvcodec.h"

#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#define DECLARE(name, type) static type p##name;
QV_DECODER_FUNCTIONS(DECLARE)

static void Load(const char* path)
{
    void* library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    if (library == NULL) {
        fprintf(stderr, "%s\n", dlerror());
        exit(1);
    }
#define LOAD(name, type)                                                                           \
    {                                                                                              \
        void* symbol = dlsym(library, #name);                                                      \
        memcpy(&p##name, &symbol, sizeof symbol);                                                  \
    }
    QV_DECODER_FUNCTIONS(LOAD)
}

/* Memory in use now; 0 where the system does not tell. */
static long ResidentKiB(void)
{
    long total = 0;
    long pages = 0;
    FILE* file = fopen("/proc/self/statm", "r");
    if (file != NULL) {
        if (fscanf(file, "%ld %ld", &total, &pages) != 2)
            pages = 0;
        fclose(file);
    }
    return pages * (sysconf(_SC_PAGESIZE) / 1024);
}

int main(int argc, char** argv)
{
    if (argc != 3 && argc != 4) {
        fprintf(stderr, "usage: stream_client PLUGIN URL [FILE]\n");
        return 2;
    }
    Load(argv[1]);
    wchar_t url[1024];
    if (mbstowcs(url, argv[2], 1024) >= 1024)
        return 2;
    FILE* output = argc == 4 ? fopen(argv[3], "wb") : NULL;
    if (argc == 4 && output == NULL) {
        perror(argv[3]);
        return 1;
    }
    const long before = ResidentKiB();
    void* decoder = pCreate(NULL);
    STQvOpenDecoder open;
    memset(&open, 0, sizeof open);
    open.pFileName = url;
    open.nFlags = QV_OPEN_PREPARE_DECODE;
    if (!pOpen(decoder, &open)) {
        fprintf(stderr, "cannot open %s\n", argv[2]);
        return 1;
    }
    STQvAudioBlock block;
    long long bytes = 0;
    long most = before;
    unsigned blocks = 0;
    do {
        memset(&block, 0, sizeof block);
        if (!pDecodeBlock(decoder, &block)) {
            fprintf(stderr, "cannot decode after %lld bytes\n", bytes);
            return 1;
        }
        bytes += block.nDataSize;
        if (output != NULL)
            fwrite(block.pData, 1, (size_t)block.nDataSize, output);
        if (blocks++ % 256 == 255 || block.nLastBlock) {
            const long now = ResidentKiB();
            most = now > most ? now : most;
        }
    } while (!block.nLastBlock);
    pClose(decoder, NULL);
    pDestroy(decoder);
    if (output != NULL && fclose(output) != 0) {
        perror(argv[3]);
        return 1;
    }
    printf("%lld %ld\n", bytes, most - before);
    return 0;
}
