// SPDX-License-Identifier: MIT

// What decoding could cost at the least: the calls and loops of the plug-in, and others in
// their place, without anything around them.
#include "Ways.h"
#include "aiff/ByteSwap.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

constexpr size_t kPiece = 65536, kMostAtOnce = 8;
constexpr int64_t kSoundAt = 54, kBitsAt = 27; // as make_aiff places them

// A file of one of the widths that are swapped, open for as long as the object lives.
class BareFile
{
public:
    explicit BareFile(const std::string& file) : m_fd(open(file.c_str(), O_RDONLY | O_CLOEXEC))
    {
        struct stat status = {};
        uint8_t bits = 0;
        if (m_fd < 0 || fstat(m_fd, &status) != 0 || pread(m_fd, &bits, 1, kBitsAt) != 1)
            Fail("cannot open " + file);
        m_size = status.st_size;
        m_width = bits / 8u;
        const aiff::ByteSwap::Kernels& kernels = aiff::ByteSwap::Best();
        m_kernel = std::array{kernels.flipSign8, kernels.reverse16, kernels.reverse24,
                              kernels.reverse32}[m_width - 1];
    }
    BareFile(const BareFile&) = delete;
    BareFile& operator=(const BareFile&) = delete;
    ~BareFile() { close(m_fd); }

    // Reads so many pieces at one go, and swaps each in its place.
    int64_t Read(size_t pieces, bool swaps)
    {
        int64_t at = kSoundAt;
        ssize_t count = 0;
        while ((count = pread(m_fd, Place(at), pieces * Piece(), at)) > 0) {
            const auto size = static_cast<size_t>(count);
            for (size_t done = 0; swaps && done < size; done += Piece())
                Swap(Place(at) + done, std::min(Piece(), size - done));
            at += count;
        }
        return at;
    }

    // Swaps as many pieces as the file has, but always the same memory.
    int64_t SwapAlone()
    {
        int64_t at = kSoundAt;
        for (; at < m_size; at += static_cast<int64_t>(Piece()))
            Swap(Place(0), Piece());
        return at;
    }

    // Copies pieces from a mapping of the file and swaps them. When the file is cut, that is a
    // signal.
    int64_t Map()
    {
        const auto size = static_cast<size_t>(m_size);
        void* const mapping = mmap(nullptr, size, PROT_READ, MAP_SHARED, m_fd, 0);
        if (mapping == MAP_FAILED)
            Fail("cannot map a file");
        const auto* bytes = static_cast<const uint8_t*>(mapping);
        for (size_t at = kSoundAt; at < size; at += Piece()) {
            uint8_t* const place = Place(static_cast<int64_t>(at));
            const size_t count = std::min(Piece(), size - at);
            std::memcpy(place, bytes + at, count);
            Swap(place, count);
        }
        munmap(mapping, size);
        return m_size;
    }

private:
    static constexpr size_t kPage = 4096, kLine = 64;

    size_t Piece() const { return kPiece / m_width * m_width; }

    // Like the decode buffer: as far within its page as the file position, rounded down to a line.
    static uint8_t* Place(int64_t position)
    {
        alignas(kPage) static uint8_t pages[kMostAtOnce * kPiece + kPage];
        return pages + static_cast<size_t>(position) % kPage / kLine * kLine;
    }
    void Swap(uint8_t* bytes, size_t size) const { m_kernel(bytes, size / m_width); }

    int m_fd;
    int64_t m_size = 0;
    size_t m_width = 0; // of a sample, in bytes
    aiff::ByteSwap::Kernel m_kernel = nullptr;
};

} // namespace

std::map<std::string, Way> BareWays()
{
    std::map<std::string, Way> ways = {
        {"bare_swap", [](auto& file) { return BareFile(file).SwapAlone(); }},
        {"bare_mapped", [](auto& file) { return BareFile(file).Map(); }},
    };
    for (const size_t pieces : {size_t{1}, size_t{4}, size_t{8}}) {
        const std::string name = std::to_string(pieces * 64);
        ways["bare_read_" + name] = [=](auto& file) { return BareFile(file).Read(pieces, false); };
        ways["bare_" + name] = [=](auto& file) { return BareFile(file).Read(pieces, true); };
    }
    return ways;
}
