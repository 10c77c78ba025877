// SPDX-License-Identifier: MIT

// AIFF.so with one fault, which the environment variable FAULT names: what the checks of
// "aiffconv codecs --validate" are there to find.
#include "qvcodec.h"

#include <algorithm>
#include <atomic>
#include <clocale>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <stdexcept>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace
{

bool Is(const char* fault)
{
    const char* const wanted = std::getenv("FAULT");
    return wanted != nullptr && std::strcmp(wanted, fault) == 0;
}

struct Real {
#define DECLARE(name, type) type name = nullptr;
    QV_DECODER_FUNCTIONS(DECLARE)
    Real()
    {
        void* const library = dlopen(REAL_PLUGIN, RTLD_NOW | RTLD_LOCAL);
#define FIND(name, type) name = reinterpret_cast<type>(dlsym(library, #name));
        QV_DECODER_FUNCTIONS(FIND)
        if (Is("prints when loaded"))
            std::puts("loaded");
    }
    ~Real()
    {
        if (Is("crashes when unloaded"))
            std::abort();
    }
};
const Real real;

struct Wrapper {
    void* inner;
    int error;
    std::thread::id owner = std::this_thread::get_id();
    std::wstring name = {};
    STQvOpenDecoder* record = nullptr;
    int opens = 0;
    int64_t frames = 0, position = 0;
    std::wstring text = {};
};
Wrapper* g_latest = nullptr;
int g_instances = 0;
std::atomic<int> g_count = 0;
std::vector<uint8_t> g_block;
std::wstring g_text;

Wrapper* Of(void* handle)
{
    return static_cast<Wrapper*>(handle);
}
void* Inner(void* handle)
{
    return handle == nullptr ? nullptr : Of(handle)->inner;
}

std::string Narrow(const wchar_t* name)
{
    return {name, name + std::wcslen(name)};
}

void Hang()
{
    for (;;)
        pause();
}

// What is done at every Open of a file that is there.
void Misbehave(const std::string& path)
{
    if (Is("leaks a descriptor"))
        (void)!open("/dev/null", O_RDONLY);
    if (Is("leaks memory"))
        static_cast<volatile char*>(std::malloc(64))[0] = 1;
    if (Is("prints"))
        std::puts("opened");
    if (Is("writes to standard error"))
        (void)!write(2, "opened\n", 7);
    if (Is("sets the locale"))
        std::setlocale(LC_ALL, "");
    if (Is("handles a signal"))
        std::signal(SIGUSR1, [](int) {});
    if (Is("changes the folder"))
        (void)!chdir("/");
    if (Is("changes the mask"))
        umask(077);
    if (Is("touches its input"))
        utimensat(AT_FDCWD, path.c_str(), nullptr, 0);
}

void SpoilRecord(STQvOpenDecoder& record)
{
    if (Is("writes a reserved field"))
        record.nReserved = 0;
    if (Is("clears fields not asked for") && (record.nFlags & QV_OPEN_READ_TAGS) == 0)
        record.nTagDataSize = 0;
    if (Is("writes past its record"))
        (&record)[1].nFlags = 0;
    if (Is("tells a wrong length"))
        record.AudioInfo.nLengthMS += 1;
    if (Is("tells too many bytes"))
        record.AudioInfo.nLengthBytes += record.AudioInfo.WaveFormat.nBlockAlign;
    if (Is("cuts the tags off") && (record.nFlags & QV_OPEN_READ_TAGS) != 0)
        record.nTagDataSize -= 1;
    if (Is("gives other properties") && (record.nFlags & QV_OPEN_PROPERTIES) != 0)
        const_cast<uint8_t*>(record.pPropertiesData)[8] = static_cast<uint8_t>('a' + ++g_count % 9);
}

void SpoilBlock(STQvAudioBlock& block, int32_t lastBefore)
{
    auto* const data = const_cast<uint8_t*>(block.pData);
    if (Is("changes a sample") && block.nDataSize > 100)
        data[100] ^= 1;
    if (Is("adds noise"))
        data[0] = static_cast<uint8_t>(++g_count);
    if (Is("splits frames") && block.nDataSize > 1)
        block.nDataSize -= 1;
    if (Is("tells no duration"))
        block.nDurationMS = -9;
    if (Is("leaves nLastBlock") && block.nLastBlock == 0)
        block.nLastBlock = lastBefore;
    if (Is("writes the sub-format"))
        block.WaveFormat.SubFormat[15] = 0;
    if (Is("shares its block")) {
        g_block.resize(65536);
        block.pData = std::copy(data, data + block.nDataSize, g_block.data()) - block.nDataSize;
    }
}

} // namespace

#pragma GCC visibility push(default)
extern "C" {

void* Create(const STNStdReport* pReport)
{
    if (Is("needs a report") && pReport == nullptr)
        return nullptr;
    ++g_instances;
    const auto error =
        pReport == nullptr ? 0 : static_cast<int>(reinterpret_cast<intptr_t>(pReport->hError));
    return new Wrapper{real.Create(Is("has no report") ? nullptr : pReport), error};
}

int32_t Destroy(void* hDecoder)
{
    if (hDecoder == nullptr)
        return Is("fails to destroy null") ? 0 : 1;
    --g_instances;
    if (Is("closes the report"))
        close(Of(hDecoder)->error);
    const int32_t result = real.Destroy(Inner(hDecoder));
    delete Of(hDecoder);
    return result;
}

int32_t Get(void* hDecoder, const wchar_t* pKey, STQvCodecGetSet* pGetSet)
{
    if (Is("crashes at null"))
        Of(hDecoder)->opens = 0;
    const uint32_t index = pGetSet->nItemIndex;
    if (Is("throws"))
        throw std::out_of_range("no such key");
    if (Is("lists without end"))
        pGetSet->nItemIndex = 0;
    const bool isCase = Is("ignores case") && std::wcscmp(pKey, L"decodes") == 0;
    int32_t result = real.Get(Inner(hDecoder), isCase ? QV_KEY_DECODES : pKey, pGetSet);
    pGetSet->nItemIndex = index;
    if (Is("writes at failure") && result == 0)
        pGetSet->pText1 = nullptr;
    if (Is("has no description") && std::wcscmp(pKey, QV_KEY_DECODER_DESCRIPTION) == 0)
        result = 0;
    if (result == 1 && Is("lists without dots"))
        ++pGetSet->pText1;
    if (result == 1 && Is("shares its answers")) {
        g_text.assign(pGetSet->pText1).reserve(100);
        pGetSet->pText1 = g_text.c_str();
    }
    const bool isFormat = result == 1 && std::wcscmp(pKey, QV_KEY_DECODES) == 0;
    if (isFormat && Is("decodes .oth files"))
        pGetSet->pText1 = pGetSet->pText2 = L".oth";
    return result;
}

int32_t Open(void* hDecoder, STQvOpenDecoder* pOpen)
{
    if (hDecoder == nullptr)
        return real.Open(nullptr, pOpen);
    Wrapper& own = *Of(hDecoder);
    const wchar_t* const name = pOpen->pFileName;
    const std::string path = name == nullptr ? "" : Narrow(name);
    struct stat status = {};
    const bool isThere = stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
    if (isThere)
        Misbehave(path);
    if (Is("writes bad lines"))
        (void)!write(own.error, "bad\n", 4);
    if (Is("makes files") && path.ends_with("missing.aiff"))
        close(open(path.c_str(), O_WRONLY | O_CREAT, 0600));
    if ((Is("knows no umlauts") && std::wstring(name).find(L'\u00FC') != std::wstring::npos) ||
        (Is("refuses .aif") && path.ends_with(".aif")) || (Is("opens once") && own.opens > 0) ||
        (Is("opens few") && g_instances > 20))
        return 0;
    const uint32_t flags = pOpen->nFlags;
    if (Is("takes packets"))
        pOpen->nFlags &= ~QV_OPEN_EXTERNAL_PACKETS;
    const int32_t result = real.Open(own.inner, pOpen);
    pOpen->nFlags = flags;
    if (Is("opens what is missing"))
        return 1;
    if (Is("hangs at damage") && isThere && result == 0)
        Hang();
    if (result == 0)
        return 0;
    ++own.opens;
    own.name = name;
    own.record = pOpen;
    own.position = 0;
    own.frames = pOpen->AudioInfo.nLengthBytes /
                 std::max<int64_t>(pOpen->AudioInfo.WaveFormat.nBlockAlign, 1);
    g_latest = &own;
    SpoilRecord(*pOpen);
    return 1;
}

int32_t Close(void* hDecoder, STQvEncoderFluid* pFluid)
{
    const int32_t result = real.Close(Inner(hDecoder), pFluid);
    return Is("fails to close") && hDecoder != nullptr && Of(hDecoder)->opens == 0 ? 0 : result;
}

int32_t DecodeBlock(void* hDecoder, STQvAudioBlock* pBlock)
{
    if (hDecoder == nullptr)
        return real.DecodeBlock(nullptr, pBlock);
    Wrapper& own = *Of(hDecoder);
    if (Is("exits"))
        std::exit(0);
    if (Is("hangs"))
        Hang();
    if ((Is("belongs to a thread") && own.owner != std::this_thread::get_id()) ||
        (Is("keeps the host's record") && own.record->nFlags == 0xA5A5A5A5))
        return 0;
    void* const inner = Is("shares its position") ? g_latest->inner : own.inner;
    const STQvAudioBlock before = *pBlock;
    const int32_t result = real.DecodeBlock(inner, pBlock);
    if (result == 0)
        return 0;
    if (pBlock->pData == before.pData) { // no audio: the end
        if (Is("clears the last block"))
            pBlock->nDataSize = 0;
        return Is("fails after the end") ? 0 : 1;
    }
    SpoilBlock(*pBlock, before.nLastBlock);
    return 1;
}

int32_t DeleteATag(void* hDecoder, const wchar_t* pFileName, const wchar_t* pNames)
{
    return Is("only says that it deletes") ? 1
                                           : real.DeleteATag(Inner(hDecoder), pFileName, pNames);
}

int32_t Set(void* hDecoder, const wchar_t* pKey, STQvCodecGetSet* pGetSet)
{
    if (hDecoder == nullptr)
        return real.Set(nullptr, pKey, pGetSet);
    Wrapper& own = *Of(hDecoder);
    const bool isRange = std::wcscmp(pKey, QV_KEY_SET_DECODE_RANGE) == 0;
    if (Is("takes any value") && std::wcscmp(pKey, QV_KEY_DURABLE_EDITS) == 0)
        return 1;
    if (isRange && Is("writes values"))
        pGetSet->nValue1 = 0;
    if (isRange && Is("ignores the end"))
        pGetSet->nValue2 = QV_RANGE_TO_END;
    const bool isTags = std::wcscmp(pKey, QV_KEY_ID_TAGS) == 0;
    if (isTags && Is("only says that it writes"))
        return 1;
    const int32_t result = real.Set(own.inner, pKey, pGetSet);
    if (isRange && Is("changes the range at once") && own.opens > 0) {
        STQvOpenDecoder again = {};
        again.pFileName = own.name.c_str();
        again.nFlags = QV_OPEN_PREPARE_DECODE;
        real.Open(own.inner, &again);
    }
    const int file =
        isTags && pGetSet->pText1 != nullptr ? open(Narrow(pGetSet->pText1).c_str(), O_WRONLY) : -1;
    if (file >= 0 && Is("spoils sound with tags") && result == 1)
        (void)!pwrite(file, "!", 1, 1000);
    if (file >= 0 && Is("spoils files when it fails") && result == 0)
        (void)!pwrite(file, "!", 1, 4);
    close(file);
    return result;
}

#ifndef LACKING
int32_t SetPosition(void* hDecoder, int64_t nFrame)
{
    if (hDecoder == nullptr)
        return real.SetPosition(nullptr, nFrame);
    if (Is("crashes at a seek"))
        std::abort();
    if (Is("refuses seeks past the end") && nFrame > Of(hDecoder)->frames)
        return 0;
    return real.SetPosition(Inner(hDecoder), nFrame + (Is("seeks past the frame") ? 1 : 0));
}
#endif

} // extern "C"
