// SPDX-License-Identifier: MIT

// A disk that turns over one bit of every longer write: preloaded into aiffconv.
#define _GNU_SOURCE
#include <string.h>
#include <sys/syscall.h>
#include <unistd.h>

static const void* Spoiled(const void* data, size_t size)
{
    static char copy[1 << 20];
    if (size < 1000 || size > sizeof copy)
        return data;
    memcpy(copy, data, size);
    copy[size / 2] ^= 1;
    return copy;
}

ssize_t write(int file, const void* data, size_t size)
{
    return syscall(SYS_write, file, Spoiled(data, size), size);
}

ssize_t pwrite(int file, const void* data, size_t size, off_t position)
{
    return syscall(SYS_pwrite64, file, Spoiled(data, size), size, position);
}
