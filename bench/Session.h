// SPDX-License-Identifier: MIT

// The plug-in, driven as a host drives it, without a report.
#pragma once

#include "Ways.h"
#include "qvcodec.h"

#include <cstring>
#include <dlfcn.h>
#include <span>

// FNV-1a over little-endian PCM, 8-bit samples unsigned.
inline void AddToSum(uint64_t& sum, std::span<const uint8_t> pcm)
{
    for (const uint8_t byte : pcm)
        sum = (sum ^ byte) * 0x100000001B3u;
}

struct Plugin {
    explicit Plugin(const std::string& path)
    {
        void* library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (library == nullptr)
            Fail(dlerror());
#define BENCH_LOOKUP(name, type)                                                                   \
    name = reinterpret_cast<type>(dlsym(library, #name));                                          \
    if (name == nullptr)                                                                           \
        Fail("no function " #name " in " + path);
        QV_DECODER_FUNCTIONS(BENCH_LOOKUP)
    }

#define BENCH_MEMBER(name, type) type name = nullptr;
    QV_DECODER_FUNCTIONS(BENCH_MEMBER)
};

// An instance of the plug-in with a file open, without a report.
class Session
{
public:
    Session(const Plugin& plugin, const std::string& file, uint32_t flags)
        : m_plugin(plugin), m_file(file), m_decoder(plugin.Create(nullptr))
    {
        const std::wstring name(file.begin(), file.end()); // ASCII
        m_open.pFileName = name.c_str();
        m_open.nFlags = flags | QV_OPEN_PREPARE_DECODE;
        if (m_decoder == nullptr || m_plugin.Open(m_decoder, &m_open) != 1)
            Fail("the plug-in cannot open " + file);
        if ((flags & QV_OPEN_PROPERTIES) != 0 && m_open.nPropertiesDataSize == 0)
            Fail("the plug-in tells no properties of " + file);
    }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    ~Session()
    {
        STQvEncoderFluid fluid = {};
        m_plugin.Close(m_decoder, &fluid);
        m_plugin.Destroy(m_decoder);
    }

    int64_t PcmBytes() const { return m_open.AudioInfo.nLengthBytes; }

    std::span<const uint8_t> TagBlob() const { return {m_open.pTagData, m_open.nTagDataSize}; }

    // Items of the tag blob, whose first four bytes count them.
    int32_t Tags() const
    {
        int32_t count = 0;
        if (m_open.nTagDataSize >= sizeof(count))
            std::memcpy(&count, m_open.pTagData, sizeof(count));
        return count;
    }

    // Returns the bytes of all blocks; adds them to the sum unless that is null.
    int64_t Decode(uint64_t* sum)
    {
        int64_t bytes = 0;
        STQvAudioBlock block = {};
        while (block.nLastBlock == 0) {
            block = {};
            if (m_plugin.DecodeBlock(m_decoder, &block) != 1)
                Fail("the plug-in cannot decode " + m_file);
            if (sum != nullptr)
                AddToSum(*sum, std::span(block.pData, block.nDataSize));
            bytes += block.nDataSize;
        }
        return bytes;
    }

private:
    const Plugin& m_plugin;
    const std::string& m_file;
    void* m_decoder;
    STQvOpenDecoder m_open = {};
};
