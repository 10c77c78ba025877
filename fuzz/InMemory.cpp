// SPDX-License-Identifier: MIT
#undef _FORTIFY_SOURCE // its headers would define open and others here
#include "InMemory.h"

#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <map>
#include <memory>
#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace InMemory
{

std::function<Bytes(const std::string& request)> server;
bool trickles = false;
ssize_t lastReport = 0;

namespace
{

constexpr int kFirst = 1 << 20;                       // descriptor; the system's are lower
constexpr off_t kMost = 1 << 26;                      // bytes of a file
const std::string kName = std::string(kFolder) + "a"; // an ending would tell the format

struct Node {
    Bytes bytes;
    long number = 0, changes = 0;
    nlink_t names = 1;
};

struct Descriptor {
    std::shared_ptr<Node> file;
    off_t position = 0;
    std::string request; // of a connection
    Bytes answer;
    size_t sent = 0;
};

std::map<std::string, std::shared_ptr<Node>> names;
std::vector<std::unique_ptr<Descriptor>> descriptors;
long nodes = 0;

int Add(std::shared_ptr<Node> file)
{
    auto free = std::find(descriptors.begin(), descriptors.end(), nullptr);
    if (free == descriptors.end())
        free = descriptors.insert(free, nullptr);
    *free = std::make_unique<Descriptor>();
    (*free)->file = std::move(file);
    return kFirst + static_cast<int>(free - descriptors.begin());
}

Descriptor* Find(int fd)
{
    return fd < kFirst ? nullptr : descriptors.at(static_cast<size_t>(fd - kFirst)).get();
}

Node* FileOf(int fd)
{
    Descriptor* const found = Find(fd);
    return found == nullptr ? nullptr : found->file.get();
}

// Libraries ask before this program is initialised, even for null.
bool IsHere(const char* path)
{
    return path != nullptr && std::strncmp(path, kFolder.data(), kFolder.size()) == 0;
}

int Fail(int error)
{
    return errno = error, -1;
}

int Tell(const Node* node, struct stat* status)
{
    if (node == nullptr)
        return Fail(ENOENT);
    static const uid_t self = geteuid();
    *status = {};
    status->st_uid = self;
    status->st_mode = S_IFREG | 0644;
    status->st_ino = static_cast<ino_t>(node->number);
    status->st_nlink = node->names;
    status->st_size = std::ssize(node->bytes);
    status->st_mtim.tv_nsec = status->st_ctim.tv_nsec = node->changes;
    return 0;
}

const std::shared_ptr<Node>& Named(const char* path)
{
    static const std::shared_ptr<Node> none;
    const auto found = names.find(path);
    return found == names.end() ? none : found->second;
}

int OpenFile(const char* path, int flags)
{
    std::shared_ptr<Node> node = Named(path);
    if (node == nullptr && (flags & O_CREAT) != 0)
        node = names[path] = std::make_shared<Node>(Node{{}, ++nodes});
    else if (node == nullptr || (flags & O_EXCL) != 0)
        return Fail(node == nullptr ? ENOENT : EEXIST);
    return Add(node);
}

int Release(int fd)
{
    descriptors[static_cast<size_t>(fd - kFirst)] = nullptr;
    return 0;
}

ssize_t Read(const Node& node, void* out, size_t size, off_t position)
{
    const auto from = static_cast<size_t>(std::min<off_t>(position, std::ssize(node.bytes)));
    size = std::min(size, node.bytes.size() - from);
    std::copy_n(node.bytes.data() + from, size, static_cast<uint8_t*>(out));
    return static_cast<ssize_t>(size);
}

ssize_t ReadOn(Descriptor& from, void* out, size_t size)
{
    const ssize_t count = Read(*from.file, out, size, from.position);
    from.position += count;
    return count;
}

off_t Go(Descriptor& here, off_t offset, int whence)
{
    const off_t end = std::ssize(here.file->bytes);
    if (whence == SEEK_DATA || whence == SEEK_HOLE) // all is data
        return whence == SEEK_DATA ? offset : end;
    const off_t from = whence == SEEK_CUR ? here.position : whence == SEEK_END ? end : 0;
    if (__builtin_add_overflow(from, offset, &offset) || offset < 0)
        return Fail(EINVAL);
    return here.position = offset;
}

int Resize(Node& node, off_t size)
{
    if (size > kMost)
        return Fail(EFBIG);
    node.bytes.resize(static_cast<size_t>(size));
    ++node.changes;
    return 0;
}

ssize_t Write(Node& node, const void* bytes, size_t size, off_t position)
{
    const off_t end = position + static_cast<off_t>(size);
    if (Resize(node, std::max<off_t>(end, std::ssize(node.bytes))) != 0)
        return -1;
    std::copy_n(static_cast<const uint8_t*>(bytes), size, node.bytes.data() + position);
    return static_cast<ssize_t>(size);
}

int Remove(const char* path)
{
    --Named(path)->names;
    names.erase(path);
    return 0;
}

int Rename(const char* from, const char* to)
{
    const std::shared_ptr<Node> node = Named(from);
    names.erase(from);
    if (names.contains(to))
        Remove(to);
    names[to] = node;
    return 0;
}

} // namespace

std::wstring OnlyFile(const Bytes& content)
{
    names = {{kName, std::make_shared<Node>(Node{content, ++nodes})}};
    return {kName.begin(), kName.end()};
}

size_t CountFiles()
{
    return names.size();
}

ptrdiff_t CountOpen()
{
    return std::ssize(descriptors) - std::count(descriptors.begin(), descriptors.end(), nullptr);
}

Bytes& File()
{
    return names.at(kName)->bytes;
}

} // namespace InMemory

using namespace InMemory;

// What is not in memory is the system's. Libraries find these functions, too.
#define AIFF_EXPORTED extern "C" __attribute__((visibility("default")))
#define AIFF_IN_FRONT(type, name, parameters, isHere, here, ...)                                   \
    AIFF_EXPORTED type name parameters                                                             \
    {                                                                                              \
        return static_cast<type>((isHere) ? (here) : syscall(__VA_ARGS__));                        \
    }

AIFF_IN_FRONT(int, fstat, (int fd, struct stat* status), FileOf(fd), Tell(FileOf(fd), status),
              SYS_fstat, fd, status)
AIFF_IN_FRONT(int, stat, (const char* path, struct stat* status), IsHere(path),
              Tell(Named(path).get(), status), SYS_newfstatat, AT_FDCWD, path, status, 0)
AIFF_IN_FRONT(ssize_t, pread, (int fd, void* out, size_t size, off_t position), FileOf(fd),
              Read(*FileOf(fd), out, size, position), SYS_pread64, fd, out, size, position)
AIFF_IN_FRONT(ssize_t, pwrite, (int fd, const void* bytes, size_t size, off_t position), FileOf(fd),
              Write(*FileOf(fd), bytes, size, position), SYS_pwrite64, fd, bytes, size, position)
AIFF_IN_FRONT(ssize_t, write, (int fd, const void* bytes, size_t size), FileOf(fd),
              lastReport = static_cast<ssize_t>(size), SYS_write, fd, bytes, size)
AIFF_IN_FRONT(int, ftruncate, (int fd, off_t size), FileOf(fd), Resize(*FileOf(fd), size),
              SYS_ftruncate, fd, size)
AIFF_IN_FRONT(ssize_t, read, (int fd, void* out, size_t size), FileOf(fd),
              ReadOn(*Find(fd), out, size), SYS_read, fd, out, size)
AIFF_IN_FRONT(off_t, lseek, (int fd, off_t offset, int whence), FileOf(fd),
              Go(*Find(fd), offset, whence), SYS_lseek, fd, offset, whence)
AIFF_IN_FRONT(int, fsync, (int), true, 0, SYS_fsync) // a disk keeps its pace for nobody
AIFF_IN_FRONT(int, fdatasync, (int), true, 0, SYS_fdatasync)
AIFF_IN_FRONT(int, fchmod, (int fd, mode_t mode), FileOf(fd), 0, SYS_fchmod, fd, mode)
AIFF_IN_FRONT(ssize_t, flistxattr, (int fd, char* list, size_t size), FileOf(fd), 0, SYS_flistxattr,
              fd, list, size)
AIFF_IN_FRONT(int, unlink, (const char* path), IsHere(path), Remove(path), SYS_unlinkat, AT_FDCWD,
              path, 0)
AIFF_IN_FRONT(int, rename, (const char* from, const char* to), IsHere(to), Rename(from, to),
              SYS_renameat, AT_FDCWD, from, AT_FDCWD, to)
AIFF_IN_FRONT(int, close, (int fd), Find(fd), Release(fd), SYS_close, fd)
// Under its own name it would hide the record of fcntl.
extern "C" int LockFile(int fd, int operation) __asm__("flock");
AIFF_IN_FRONT(int, LockFile, (int fd, int operation), FileOf(fd), 0, SYS_flock, fd, operation)

AIFF_EXPORTED int open(const char* path, int flags, ...)
{
    va_list more;
    va_start(more, flags);
    const int mode = (flags & O_CREAT) != 0 ? va_arg(more, int) : 0;
    va_end(more);
    return IsHere(path) ? OpenFile(path, flags)
                        : static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags, mode));
}

// A file in memory has nothing but duplicates to ask for.
AIFF_EXPORTED int fcntl(int fd, int command, ...)
{
    va_list more;
    va_start(more, command);
    const long operand = va_arg(more, long);
    va_end(more);
    return FileOf(fd) != nullptr ? Add(Find(fd)->file)
                                 : static_cast<int>(syscall(SYS_fcntl, fd, command, operand));
}

// For reading, where it is in memory.
AIFF_EXPORTED FILE* fopen(const char* path, const char* mode)
{
    static const auto system = reinterpret_cast<decltype(&fopen)>(dlsym(RTLD_NEXT, "fopen"));
    if (!IsHere(path))
        return system(path, mode);
    const std::shared_ptr<Node>& node = Named(path);
    return node == nullptr ? nullptr : fmemopen(node->bytes.data(), node->bytes.size(), "r");
}

extern "C" int __open_2(const char* path, int flags)
{
    return open(path, flags);
}

// No write in memory raises a signal.
extern "C" int pthread_sigmask(int, const sigset_t*, sigset_t* old)
{
    return old == nullptr ? 0 : sigemptyset(old);
}

// The network is all here: every host has one address, and nothing is ever waited for.

extern "C" int getaddrinfo(const char*, const char*, const addrinfo*, addrinfo** list)
{
    static sockaddr address = {};
    static addrinfo one = {0, AF_INET, SOCK_STREAM, 0, sizeof address, &address, nullptr, nullptr};
    return *list = &one, 0;
}

extern "C" void freeaddrinfo(addrinfo*) {}

extern "C" int socket(int, int, int)
{
    return Add(nullptr);
}

extern "C" int connect(int, const sockaddr*, socklen_t)
{
    return server ? 0 : Fail(ECONNREFUSED);
}

extern "C" int getsockopt(int, int, int, void* value, socklen_t* size)
{
    return std::memset(value, 0, *size), 0;
}

extern "C" int poll(pollfd* polls, nfds_t count, int)
{
    for (nfds_t i = 0; i < count; ++i)
        polls[i].revents = POLLIN | POLLOUT;
    return static_cast<int>(count);
}

extern "C" ssize_t send(int fd, const void* bytes, size_t size, int)
{
    Descriptor& peer = *Find(fd);
    peer.request.append(static_cast<const char*>(bytes), size);
    if (peer.request.ends_with("\r\n\r\n"))
        peer.answer = server(peer.request);
    return static_cast<ssize_t>(size);
}

extern "C" ssize_t recv(int fd, void* out, size_t size, int)
{
    Descriptor& peer = *Find(fd);
    // First a few bytes at a time; that many reads of a long answer would take too long.
    const size_t most = !trickles ? SIZE_MAX : peer.sent < 512 ? 5 : 4999;
    size = std::min({size, most, peer.answer.size() - peer.sent});
    std::copy_n(peer.answer.data() + peer.sent, size, static_cast<uint8_t*>(out));
    peer.sent += size;
    return static_cast<ssize_t>(size);
}
