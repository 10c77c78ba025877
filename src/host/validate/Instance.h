// SPDX-License-Identifier: MIT

// One instance of the plug-in under test.
#pragma once

#include "codecs/Codec.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace aiff::host::validate
{

using Bytes = std::vector<uint8_t>;

// What records are filled with, to see what a call writes.
inline constexpr uint8_t kPattern = 0xA5;
// Flags of Open for all that there is of a file.
inline constexpr uint32_t kAllFlags =
    QV_OPEN_PREPARE_DECODE | QV_OPEN_AUDIO_INFO | QV_OPEN_READ_TAGS | QV_OPEN_PROPERTIES;
inline constexpr uint32_t kMaxBlockSize = 65536; // bytes

// A record at an odd address, as packed ones may be, with bytes before and after it that nobody
// may write.
template <class Record>
class Guarded
{
public:
    explicit Guarded(uint8_t fill = 0) { Fill(fill); }

    void Fill(uint8_t fill)
    {
        m_bytes.fill(kGuard);
        std::memset(m_bytes.data() + kMargin, fill, sizeof(Record));
    }
    Record* Pointer() { return reinterpret_cast<Record*>(m_bytes.data() + kMargin); }
    Record* operator->() { return Pointer(); }
    Record Value() const
    {
        Record copy;
        std::memcpy(&copy, m_bytes.data() + kMargin, sizeof copy);
        return copy;
    }
    // Whether nothing outside the record was written.
    bool IsIntact() const
    {
        size_t guards = 0;
        for (size_t i = 0; i < kMargin; ++i)
            guards += m_bytes[i] == kGuard && m_bytes[kMargin + sizeof(Record) + i] == kGuard;
        return guards == kMargin;
    }

private:
    static constexpr uint8_t kGuard = 0x5A;
    static constexpr size_t kMargin = 33;
    alignas(8) std::array<uint8_t, kMargin + sizeof(Record) + kMargin> m_bytes;
};

// Calls the nine functions. Every call is announced, so that one that does not return can be
// named.
class Instance
{
public:
    // `report` may be null.
    explicit Instance(const codecs::DecoderFunctions& functions,
                      const STNStdReport* report = nullptr);
    Instance(const Instance&) = delete;
    Instance& operator=(const Instance&) = delete;
    ~Instance();

    void* Handle() const { return m_handle; }

    // The functions of these names. The records are filled with `fill` before.
    int32_t Open(const std::string& path, uint32_t flags, uint8_t fill = 0);
    int32_t OpenName(const wchar_t* name, uint32_t flags, uint8_t fill = 0);
    int32_t DecodeBlock(uint8_t fill = 0);
    int32_t SetPosition(int64_t frame);
    int32_t Close();
    int32_t Destroy();
    int32_t Get(const wchar_t* key, uint32_t index, uint8_t fill = 0);
    int32_t Set(const wchar_t* key, int64_t value1, int64_t value2 = 0);
    int32_t SetRange(int64_t first, int64_t end);
    int32_t SetTags(const std::string& path, const Bytes& blob);
    // All tags when `names` is null.
    int32_t DeleteATag(const std::string& path, const wchar_t* names);

    // The records as the last call left them.
    Guarded<STQvOpenDecoder> open;
    Guarded<STQvAudioBlock> block;
    Guarded<STQvCodecGetSet> getSet;

    // A copy of the samples of the last block, whose record was cleared before.
    Bytes Samples() const;

    struct Rest {
        Bytes samples;
        std::string problem = {}; // why it does not reach the last block
    };
    // Decodes up to the last block, but not much more than `limit` bytes.
    Rest DecodeRest(size_t limit = kMaxSound);

    static constexpr size_t kMaxSound = size_t{1} << 30;

private:
    const codecs::DecoderFunctions& m_functions;
    void* m_handle;
};

// Where calls are announced: a descriptor, or -1 for nowhere.
void AnnounceCallsOn(int descriptor);
void AnnounceCall(const std::string& call);

} // namespace aiff::host::validate
