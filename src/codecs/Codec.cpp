// SPDX-License-Identifier: MIT
#include "codecs/Codec.h"

#include "codecs/LibraryFile.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace aiff::codecs
{
namespace
{

// Without a slash dlopen would search the system's library folders.
std::string PathWithFolder(const std::string& path)
{
    return path.find('/') == std::string::npos ? "./" + path : path;
}

template <class Function>
bool FindFunction(void* library, const char* name, Function& function, std::string& why)
{
    function = reinterpret_cast<Function>(dlsym(library, name));
    if (function != nullptr)
        return true;
    why = std::string("the function ") + name + " is missing";
    return false;
}

} // namespace

std::string Codec::FileProblem(const std::string& path)
{
    struct stat status;
    if (stat(path.c_str(), &status) != 0)
        return "there is no such file";
    if (!S_ISREG(status.st_mode))
        return "it is not a regular file";
    const int file = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (file < 0)
        return "it cannot be opened";
    const bool isWhole = IsWholeLibrary(file, static_cast<uint64_t>(status.st_size));
    close(file);
    return isWhole ? "" : "it is cut off";
}

std::shared_ptr<const Codec> Codec::Load(const std::string& path, std::string& why)
{
    why = FileProblem(path);
    if (!why.empty())
        return nullptr;
    void* library = dlopen(PathWithFolder(path).c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        const char* message = dlerror();
        why = message != nullptr ? message : "the system cannot load it";
        if (const std::string name = PathWithFolder(path) + ": "; why.starts_with(name))
            why.erase(0, name.size());
        return nullptr;
    }
    std::shared_ptr<Codec> codec(new Codec(library));
    if (!codec->FindFunctions(why))
        return nullptr;
    return codec;
}

Codec::~Codec()
{
    dlclose(m_library);
}

bool Codec::FindFunctions(std::string& why)
{
#define QV_FIND(name, type)                                                                        \
    if (!FindFunction(m_library, #name, m_functions.name, why))                                    \
        return false;
    QV_DECODER_FUNCTIONS(QV_FIND)
#undef QV_FIND
    return true;
}

} // namespace aiff::codecs
