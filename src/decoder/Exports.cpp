// SPDX-License-Identifier: MIT

// The nine exported functions. They check, forward and translate; they hold no logic.

#include "decoder/Decoder.h"

#include <new>
#include <pthread.h>
#include <type_traits>

namespace aiff
{

#define AIFF_EXPORT extern "C" __attribute__((visibility("default")))

namespace
{

// Calls a function while the thread cannot be cancelled: what unwinds a cancelled thread
// would end the host at the first catch (...), and files and locks would be left as they
// are. A cancellation that came meanwhile acts at the thread's next cancellation point.
template <class Function>
auto Uncancelled(Function&& function)
{
    int state = 0;
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &state);
    const auto result = function();
    pthread_setcancelstate(state, nullptr);
    return result;
}

// Calls an operation of the instance. Nothing leaves the plug-in but 1 or 0: a
// failed allocation anywhere below ends here.
template <class Body>
int32_t AtBoundary(void* handle, Body&& body)
{
    if (handle == nullptr)
        return 0;
    return Uncancelled([&]() noexcept -> int32_t {
        try {
            return body(*static_cast<clDecoder*>(handle)) ? 1 : 0;
        } catch (...) {
            return 0;
        }
    });
}

} // namespace

AIFF_EXPORT void* Create(const STNStdReport* report)
{
    return Uncancelled([=]() noexcept -> void* {
        try {
            return new (std::nothrow) clDecoder(report != nullptr ? *report : STNStdReport{});
        } catch (...) {
            return nullptr;
        }
    });
}

AIFF_EXPORT int32_t Destroy(void* handle)
{
    return Uncancelled([=]() noexcept {
        delete static_cast<clDecoder*>(handle);
        return int32_t{1};
    });
}

AIFF_EXPORT int32_t Get(void* handle, const wchar_t* key, STQvCodecGetSet* getSet)
{
    return AtBoundary(
        handle, [=](clDecoder& decoder) { return getSet != nullptr && decoder.Get(key, getSet); });
}

AIFF_EXPORT int32_t Set(void* handle, const wchar_t* key, STQvCodecGetSet* getSet)
{
    return AtBoundary(
        handle, [=](clDecoder& decoder) { return getSet != nullptr && decoder.Set(key, getSet); });
}

AIFF_EXPORT int32_t Open(void* handle, STQvOpenDecoder* open)
{
    return AtBoundary(handle,
                      [=](clDecoder& decoder) { return open != nullptr && decoder.Open(open); });
}

AIFF_EXPORT int32_t Close(void* handle, STQvEncoderFluid* fluid)
{
    return AtBoundary(handle, [=](clDecoder& decoder) { return decoder.Close(fluid); });
}

AIFF_EXPORT int32_t DecodeBlock(void* handle, STQvAudioBlock* block)
{
    return AtBoundary(
        handle, [=](clDecoder& decoder) { return block != nullptr && decoder.DecodeBlock(block); });
}

AIFF_EXPORT int32_t SetPosition(void* handle, int64_t frame)
{
    return AtBoundary(handle, [=](clDecoder& decoder) { return decoder.SetPosition(frame); });
}

AIFF_EXPORT int32_t DeleteATag(void* handle, const wchar_t* fileName, const wchar_t* names)
{
    return AtBoundary(handle,
                      [=](clDecoder& decoder) { return decoder.DeleteATag(fileName, names); });
}

// Every function has the type that hosts know it by.
#define AIFF_CHECK_TYPE(function, type) static_assert(std::is_same_v<decltype(&(function)), type>);
QV_DECODER_FUNCTIONS(AIFF_CHECK_TYPE)

} // namespace aiff
