// SPDX-License-Identifier: MIT

// Drives the built AIFF.so as a host does, through its nine functions.
#pragma once

#include "TagList.h"
#include "TempDir.h"
#include "qvcodec.h"

#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <memory>
#include <unistd.h>

// The plug-in, loaded afresh: its trace starts without indentation.
class Plugin
{
public:
    Plugin()
    {
        if (m_library == nullptr)
            throw std::runtime_error(dlerror());
#define AIFF_LOAD(name, type) name = reinterpret_cast<type>(dlsym(m_library.get(), #name));
        QV_DECODER_FUNCTIONS(AIFF_LOAD)
    }
    ~Plugin()
    {
        m_library.reset();
        EXPECT_EQ(dlopen(AIFF_PLUGIN_PATH, RTLD_NOW | RTLD_NOLOAD), nullptr) << "still loaded";
    }

#define AIFF_MEMBER(name, type) type name = nullptr;
    QV_DECODER_FUNCTIONS(AIFF_MEMBER)

private:
    std::unique_ptr<void, int (*)(void*)> m_library{dlopen(AIFF_PLUGIN_PATH, RTLD_NOW | RTLD_LOCAL),
                                                    dlclose};
};

enum Output { kError, kInformation, kDebug };

// Collects the three outputs of a report in files.
class Report
{
public:
    STNStdReport Record() const
    {
        return {Handle(kError), Handle(kInformation), traces ? Handle(kDebug) : nullptr};
    }
    bool traces = true;

    // What was written since the last call for this output.
    std::string Take(Output output)
    {
        const int fd = fileno(m_files[output].get());
        std::string text(static_cast<size_t>(lseek(fd, 0, SEEK_END)), '\0');
        EXPECT_EQ(pread(fd, text.data(), text.size(), 0), std::ssize(text));
        EXPECT_EQ(ftruncate(fd, 0) + lseek(fd, 0, SEEK_SET), 0);
        return text;
    }

private:
    void* Handle(Output output) const
    {
        return reinterpret_cast<void*>(intptr_t{fileno(m_files[output].get())});
    }

    static std::shared_ptr<FILE> NewFile() { return {std::tmpfile(), fclose}; }
    std::shared_ptr<FILE> m_files[3] = {NewFile(), NewFile(), NewFile()};
};

inline std::wstring Wide(const std::string& ascii)
{
    return {ascii.begin(), ascii.end()};
}

// Expected lines of a report are written with "\n".
inline std::string Lines(const std::string& text)
{
    std::string out;
    for (const char c : text)
        (out += c == '\n' ? "\r" : "") += c;
    return out;
}

// One instance with its records, which hold a byte pattern where nobody wrote.
class Instance
{
public:
    static constexpr uint8_t kPattern = 0xA5;

    explicit Instance(const Plugin& plugin, const STNStdReport& record = {})
        : handle(plugin.Create(&record)), m_plugin(plugin)
    {
    }
    Instance(const Plugin& plugin, const Report& report) : Instance(plugin, report.Record()) {}
    // With a file or stream that can be opened.
    Instance(const Plugin& plugin, const std::string& path, uint32_t flags) : Instance(plugin)
    {
        EXPECT_EQ(Open(path, flags), 1) << path;
    }
    Instance(Instance&&) = delete;
    ~Instance() { EXPECT_EQ(m_plugin.Destroy(handle), 1); }

    int32_t Set(const wchar_t* key, int64_t first, int64_t second = 0)
    {
        STQvCodecGetSet record = {0, 0, first, second, nullptr, nullptr, 0, nullptr};
        return m_plugin.Set(handle, key, &record);
    }
    int32_t Range(int64_t start, int64_t end) { return Set(QV_KEY_SET_DECODE_RANGE, start, end); }
    int32_t Open(const wchar_t* name, uint32_t flags, uint8_t pattern = kPattern)
    {
        std::memset(&open, pattern, sizeof open);
        open.pFileName = name;
        open.nFlags = flags;
        return m_plugin.Open(handle, &open);
    }
    int32_t Open(const std::string& path, uint32_t flags, uint8_t pattern = kPattern)
    {
        m_name = Wide(path);
        return Open(m_name.c_str(), flags, pattern);
    }
    int32_t Seek(int64_t frame) { return m_plugin.SetPosition(handle, frame); }
    int32_t Close() { return m_plugin.Close(handle, nullptr); }
    int32_t Get(const wchar_t* key)
    {
        STQvCodecGetSet record = {};
        return m_plugin.Get(handle, key, &record);
    }

    // Decodes a block into a record that held the pattern.
    int32_t Next(uint8_t pattern = kPattern)
    {
        std::memset(&block, pattern, sizeof block);
        return m_plugin.DecodeBlock(handle, &block);
    }
    // Empty when the block came without data.
    Bytes Data() const
    {
        const uint32_t size = block.nDataSize != kPattern * 0x01010101u ? block.nDataSize : 0;
        return size > 0 ? Bytes(block.pData, block.pData + size) : Bytes();
    }

    Bytes TagBlob() const { return {open.pTagData, open.pTagData + open.nTagDataSize}; }

    // Everything up to the last block. A failing call fails the test, and so does an
    // empty block that is not the last.
    Bytes Rest()
    {
        Bytes all;
        for (bool isLast = false; !isLast;) {
            const bool isDecoded = Next() == 1;
            const Bytes data = isDecoded ? Data() : Bytes();
            isLast = !isDecoded || block.nLastBlock != 0;
            if (!isDecoded || (data.empty() && !isLast))
                return ADD_FAILURE() << "no block after " << all.size() << " bytes", all;
            Append(all, data);
        }
        return all;
    }

    void* handle;
    STQvOpenDecoder open;
    STQvAudioBlock block;

private:
    const Plugin& m_plugin;
    std::wstring m_name;
};

// Names and values of the properties, as "name: value" lines.
inline std::string Properties(const Instance& host)
{
    const NTag list = Decoded({host.open.pPropertiesData, host.open.nPropertiesDataSize});
    std::string lines;
    for (long i = 0; i < list.Count(); ++i)
        lines += ToUtf8(list[i].name + L": " + list[i].value + L"\n");
    return lines;
}

// A folder of real files, which need not be there.
inline std::string Corpus()
{
    const char* const folder = std::getenv("AIFF_CORPUS");
    return std::string(folder != nullptr ? folder : AIFF_CORPUS_PATH) + "/";
}

class PluginTest : public testing::Test
{
protected:
    // The path of a new file.
    std::string File(const Bytes& bytes) { return dir.Write("a.aiff", bytes); }

    TempDir dir;
    Plugin plugin;
    Report report;
};
