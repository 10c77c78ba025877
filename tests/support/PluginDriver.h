// Drives the built AIFF.so as a host does, through its nine functions.
#pragma once

#include "AiffBuilder.h"
#include "TempDir.h"
#include "qvcodec.h"

#include <array>
#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <unistd.h>

// The plug-in, loaded afresh: its trace starts without indentation.
class Plugin
{
public:
    Plugin() : m_library(dlopen(AIFF_PLUGIN_PATH, RTLD_NOW | RTLD_LOCAL))
    {
        if (m_library == nullptr)
            throw std::runtime_error(dlerror());
#define AIFF_LOAD(name, type) name = reinterpret_cast<type>(dlsym(m_library, #name));
        QV_DECODER_FUNCTIONS(AIFF_LOAD)
    }
    Plugin(const Plugin&) = delete;
    Plugin& operator=(const Plugin&) = delete;
    ~Plugin()
    {
        dlclose(m_library);
        EXPECT_EQ(dlopen(AIFF_PLUGIN_PATH, RTLD_NOW | RTLD_NOLOAD), nullptr) << "still loaded";
    }

#define AIFF_MEMBER(name, type) type name = nullptr;
    QV_DECODER_FUNCTIONS(AIFF_MEMBER)

private:
    void* m_library;
};

enum Output { kError, kInformation, kDebug };

// Collects the three outputs of a report in files.
class Report
{
public:
    Report()
    {
        for (FILE*& file : m_files)
            file = std::tmpfile();
    }
    Report(const Report&) = delete;
    Report& operator=(const Report&) = delete;
    ~Report()
    {
        for (FILE* file : m_files)
            std::fclose(file);
    }

    STNStdReport Record() const { return {Handle(kError), Handle(kInformation), Handle(kDebug)}; }

    // What was written since the last call for this output.
    std::string Take(Output output)
    {
        std::string text;
        std::array<char, 4096> part;
        off_t& from = m_taken[static_cast<size_t>(output)];
        for (ssize_t n; (n = pread(Fd(output), part.data(), part.size(), from)) > 0; from += n)
            text.append(part.data(), static_cast<size_t>(n));
        return text;
    }

private:
    int Fd(Output output) const { return fileno(m_files[static_cast<size_t>(output)]); }
    void* Handle(Output output) const { return reinterpret_cast<void*>(intptr_t{Fd(output)}); }

    std::array<FILE*, 3> m_files;
    std::array<off_t, 3> m_taken = {};
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
        out += c == '\n' ? std::string("\r\n") : std::string(1, c);
    return out;
}

// One instance with its records, which hold a byte pattern where nobody wrote.
class Instance
{
public:
    static constexpr uint8_t kPattern = 0xA5;

    explicit Instance(const Plugin& plugin, const Report* report = nullptr) : m_plugin(plugin)
    {
        const STNStdReport record = report != nullptr ? report->Record() : STNStdReport{};
        handle = plugin.Create(&record);
    }
    Instance(const Instance&) = delete;
    Instance& operator=(const Instance&) = delete;
    ~Instance() { EXPECT_EQ(m_plugin.Destroy(handle), 1); }

    int32_t Range(int64_t start, int64_t end)
    {
        STQvCodecGetSet record = {};
        record.nValue1 = start;
        record.nValue2 = end;
        return m_plugin.Set(handle, QV_KEY_SET_DECODE_RANGE, &record);
    }
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
    int32_t Close()
    {
        STQvEncoderFluid fluid = {};
        return m_plugin.Close(handle, &fluid);
    }

    // Decodes a block into a record that held the pattern.
    int32_t Next(uint8_t pattern = kPattern)
    {
        std::memset(&block, pattern, sizeof block);
        return m_plugin.DecodeBlock(handle, &block);
    }
    bool HasData() const { return block.pData != reinterpret_cast<const uint8_t*>(kUntouched); }
    Bytes Data() const
    {
        return HasData() ? Bytes(block.pData, block.pData + block.nDataSize) : Bytes();
    }

    // Everything up to the last block. A failing call fails the test, and so does an
    // empty block that is not the last.
    Bytes Rest()
    {
        Bytes all;
        bool isLast = false;
        while (!isLast) {
            const bool isDecoded = Next() == 1;
            const Bytes data = isDecoded ? Data() : Bytes();
            isLast = block.nLastBlock != 0;
            if (!isDecoded || (data.empty() && !isLast)) {
                ADD_FAILURE() << "no block behind " << all.size() << " bytes";
                break;
            }
            Append(all, data);
        }
        return all;
    }

    void* handle = nullptr;
    STQvOpenDecoder open;
    STQvAudioBlock block;

private:
    static constexpr uint64_t kUntouched = 0xA5A5A5A5A5A5A5A5;
    const Plugin& m_plugin;
    std::wstring m_name;
};

using Fields = std::vector<std::pair<std::string, std::string>>;

// Names and values of a blob of ASCII texts.
inline Fields ReadBlob(const uint8_t* at, uint32_t size)
{
    const uint8_t* const end = at + size;
    const auto number = [&] {
        uint32_t value = 0;
        std::memcpy(&value, at, 4);
        return at += 4, value;
    };
    const auto text = [&] {
        std::string out;
        for (; at[0] != 0 || at[1] != 0; at += 2)
            out += static_cast<char>(at[1] == 0 ? at[0] : '?');
        return at += 2, out;
    };
    Fields fields;
    for (uint32_t count = number(); count > 0; --count) {
        const uint8_t* next = at;
        next += number();
        std::string name = text();
        fields.emplace_back(std::move(name), text());
        EXPECT_EQ(at, next) << "an item's size disagrees with its texts";
    }
    EXPECT_EQ(at, end);
    return fields;
}

class PluginTest : public testing::Test
{
protected:
    TempDir dir;
    Plugin plugin;
    Report report;
};
