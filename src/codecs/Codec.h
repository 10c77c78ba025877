// SPDX-License-Identifier: MIT

// A decoder plug-in as a library: loading it and finding its functions.
#pragma once

#include "qvcodec.h"

#include <memory>
#include <string>

namespace aiff::codecs
{

// The exported functions of one decoder; none is null once loaded.
struct DecoderFunctions {
#define QV_MEMBER(name, type) type name = nullptr;
    QV_DECODER_FUNCTIONS(QV_MEMBER)
#undef QV_MEMBER
};

// A decoder plug-in loaded into this process. The library is unloaded with the last owner
// of the object, and every DecoderInstance is an owner, so no instance outlives its code.
class Codec
{
public:
    // Why the file cannot be a plug-in, in a few words; empty when it may be one. Nothing is
    // loaded, and no pipe or device opened.
    static std::string FileProblem(const std::string& path);

    // Loads the library at `path` and looks up the nine functions.
    //
    // returns null when it cannot be used; `why` then holds the reason in a few words
    static std::shared_ptr<const Codec> Load(const std::string& path, std::string& why);

    Codec(const Codec&) = delete;
    Codec& operator=(const Codec&) = delete;
    ~Codec();

    const DecoderFunctions& Functions() const { return m_functions; }

private:
    explicit Codec(void* library) : m_library(library) {}
    bool FindFunctions(std::string& why);

    void* m_library;
    DecoderFunctions m_functions;
};

} // namespace aiff::codecs
