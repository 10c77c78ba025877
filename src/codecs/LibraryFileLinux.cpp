// SPDX-License-Identifier: MIT
#include "codecs/LibraryFile.h"

#include <algorithm>
#include <cstring>
#include <link.h>
#include <unistd.h>
#include <vector>

namespace aiff::codecs
{

bool IsWholeLibrary(int file, uint64_t size)
{
    ElfW(Ehdr) header;
    if (pread(file, &header, sizeof header, 0) != sizeof header ||
        std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 ||
        header.e_phentsize != sizeof(ElfW(Phdr)))
        return true;
    const auto isInside = [size](uint64_t start, uint64_t length) {
        return start <= size && length <= size - start;
    };
    std::vector<ElfW(Phdr)> segments(header.e_phnum);
    const size_t bytes = segments.size() * sizeof(ElfW(Phdr));
    return isInside(header.e_phoff, bytes) &&
           isInside(header.e_shoff, uint64_t{header.e_shnum} * header.e_shentsize) &&
           pread(file, segments.data(), bytes, static_cast<off_t>(header.e_phoff)) ==
               static_cast<ssize_t>(bytes) &&
           std::ranges::all_of(segments, [&](const ElfW(Phdr) & segment) {
               return isInside(segment.p_offset, segment.p_filesz);
           });
}

} // namespace aiff::codecs
