// SPDX-License-Identifier: MIT

// Mutations that know chunks and frames: these are changed, repeated, moved and dropped, and the
// sizes around them are repaired, so that what lies deeper is reached.

#include "Fuzz.h"

#include <random>

extern "C" size_t LLVMFuzzerMutate(uint8_t* bytes, size_t size, size_t most);

namespace
{

using Random = std::minstd_rand;

// A number in a header.
struct Field {
    size_t at, count; // bytes
    int bits;         // of each byte
    bool isLittle;

    size_t Get(const Bytes& header) const
    {
        size_t value = 0;
        for (size_t i = 0; i < count; ++i)
            value = value << bits | header[at + (isLittle ? count - 1 - i : i)];
        return value;
    }
    void Put(Bytes& header, size_t value) const
    {
        for (size_t i = 0; i < count; ++i, value >>= bits)
            header[at + (isLittle ? i : count - 1 - i)] =
                static_cast<uint8_t>(value & ((1u << bits) - 1));
    }
};

// How a container consists of parts.
struct Format {
    size_t head, partHead; // bytes
    Field size, partSize;
    size_t before; // bytes of the head that its size does not count
    bool pads;     // parts of odd sizes
};

const Format* FormatOf(const Bytes& bytes)
{
    static constexpr Field big = {4, 4, 8, false}, little = {4, 4, 8, true}, tag = {6, 4, 7, false};
    static constexpr Format form = {12, 8, big, big, 8, true},
                            riff = {12, 8, little, little, 8, true},
                            v2 = {10, 6, tag, {3, 3, 8, false}, 10, false},
                            v3 = {10, 10, tag, big, 10, false},
                            v4 = {10, 10, tag, {4, 4, 7, false}, 10, false};
    const std::string start(bytes.begin(),
                            bytes.begin() + std::min<ptrdiff_t>(4, std::ssize(bytes)));
    if (bytes.size() < 12)
        return nullptr;
    return start == "FORM"               ? &form
           : start == "RIFF"             ? &riff
           : start.substr(0, 3) != "ID3" ? nullptr
           : bytes[3] == 2               ? &v2
           : bytes[3] == 4               ? &v4
                                         : &v3;
}

struct Part {
    Bytes head, body;
    size_t lie = 0; // in its size
};

struct Container {
    Bytes head;
    std::vector<Part> parts;
    Bytes tail; // from the first part on that is not whole
};

Container Split(const Bytes& bytes, const Format& format)
{
    Container all = {Front(bytes, format.head), {}, {}};
    size_t at = format.head;
    while (bytes.size() - at >= format.partHead && bytes[at] != 0) {
        const Bytes rest = From(bytes, at);
        const size_t size = format.partSize.Get(rest), end = format.partHead + size;
        if (size > bytes.size() || end > rest.size())
            break;
        all.parts.push_back(
            {Front(rest, format.partHead), From(Front(rest, end), format.partHead)});
        at = std::min(bytes.size(), at + end + (format.pads ? size % 2 : 0));
    }
    all.tail = From(bytes, at);
    return all;
}

Bytes Unite(Container all, const Format& format)
{
    Bytes out = all.head;
    out.resize(format.head);
    for (Part& part : all.parts) {
        part.head.resize(format.partHead);
        format.partSize.Put(part.head, part.body.size() + part.lie);
        Append(Append(out, part.head), part.body);
        if (format.pads && part.body.size() % 2 != 0)
            out.push_back(0);
    }
    Append(out, all.tail);
    format.size.Put(out, out.size() - format.before);
    return out;
}

void Blindly(Bytes& bytes, size_t most)
{
    const size_t size = bytes.size();
    bytes.resize(std::max<size_t>(most, 1));
    bytes.resize(LLVMFuzzerMutate(bytes.data(), size, bytes.size()));
}

Bytes Mutated(const Bytes& bytes, Random& random);

void MutateParts(std::vector<Part>& parts, Random& random)
{
    const auto any = [&] {
        return parts.begin() + static_cast<ptrdiff_t>(random() % parts.size());
    };
    static constexpr size_t sizes[] = {0, 1, 2, 8, 9, 10, 127, 128, 500, 512, 4096, 5000};
    const auto one = any();
    switch (random() % 10) {
    case 0:
        parts.erase(one);
        return;
    case 1:
        parts.insert(any(), Part(*one));
        return;
    case 2:
        return std::swap(*one, *any());
    case 3:
        return Blindly(one->head, one->head.size());
    case 4:
        one->head = any()->head;
        return;
    case 5:
        one->body.resize(sizes[random() % std::size(sizes)]);
        return;
    case 6:
        one->lie = random() % 5 - 2; // wraps around
        return;
    default:
        one->body = Mutated(one->body, random);
    }
}

Bytes Mutated(const Bytes& bytes, Random& random)
{
    const Format* const format = FormatOf(bytes);
    Bytes out = bytes;
    if (format == nullptr || random() % 8 == 0)
        return Blindly(out, bytes.size() + 16), out;
    Container all = Split(bytes, *format);
    if (all.parts.empty() || random() % 16 == 0)
        Blindly(random() % 2 == 0 ? all.head : all.tail, format->head);
    else
        MutateParts(all.parts, random);
    return Unite(all, *format);
}

} // namespace

// Quick allocations; a finding is told in full when its input is replayed.
extern "C" __attribute__((visibility("default"))) const char* __asan_default_options()
{
    return "quarantine_size_mb=1:malloc_context_size=0:max_malloc_fill_size=0";
}

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* bytes, size_t size, size_t most, unsigned seed)
{
    Random random(seed);
    const Bytes input(bytes, bytes + size);
    const size_t at = StructureAt(input);
    if (at >= size || random() % 4 == 0)
        return LLVMFuzzerMutate(bytes, size, most);
    const Bytes out = Join({Front(input, at), Mutated(From(input, at), random)});
    std::copy_n(out.begin(), std::min(most, out.size()), bytes);
    return std::min(most, out.size());
}
