// The ways to read an AIFF file that are compared: the plug-in driven as a host
// drives it, libsndfile, and plain read() as the limit of the machine.
//
// Whatever fails ends the program with a line that says so: a measurement of a
// failure is worth nothing.
#pragma once

#include "qvcodec.h"

#include <cstdint>
#include <string>

// The nine functions of a plug-in, loaded by path for the life of the program.
struct Plugin {
    explicit Plugin(const char* path);

#define BENCH_MEMBER(name, type) type name = nullptr;
    QV_DECODER_FUNCTIONS(BENCH_MEMBER)
#undef BENCH_MEMBER
};

// Names a file for both kinds of interface. ASCII only.
struct FileName {
    explicit FileName(std::string name) : bytes(std::move(name)), wide(bytes.begin(), bytes.end())
    {
    }
    std::string bytes;
    std::wstring wide;
};

[[noreturn]] void Fail(const std::string& reason);

// Each reads a whole file from opening to closing and returns the bytes that it
// got: those of the file for ReadPlain, those of the PCM for the others.
int64_t ReadPlain(const FileName& file);
int64_t ReadByPlugin(const Plugin& plugin, const FileName& file);
int64_t ReadBySndfile(const FileName& file);

// What a file decodes to.
struct Pcm {
    int64_t bytes = 0;
    uint64_t checksum = 0; // of the little-endian samples, 8-bit ones unsigned
    bool operator==(const Pcm&) const = default;
};
Pcm PcmOfPlugin(const Plugin& plugin, const FileName& file);
Pcm PcmOfSndfile(const FileName& file);

// Each opens and closes a file and returns the bytes of PCM that it announces.
// The flags are a sum of QV_OPEN_... with QV_OPEN_PREPARE_DECODE in it; `tagged`
// is raised by one when a tag blob came.
int64_t OpenByPlugin(const Plugin& plugin, const FileName& file, uint32_t flags, int& tagged);
int64_t OpenBySndfile(const FileName& file);
