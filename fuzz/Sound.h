// SPDX-License-Identifier: MIT

// Where an input holds its sound: what a decoder has to find, by a reading of the chunks that
// shares nothing with it.
#pragma once

#include "support/AiffBuilder.h"

#include <span>

// Positions and sizes in bytes, too wide for any arithmetic on numbers of 64 bits to overflow.
__extension__ typedef __int128 Wide;

// How an input comes; of a stream, with the size that the server tells, or -1.
struct Delivery {
    bool isStream = false, isExact = false, isSeekable = false;
    Wide size = -1;
};

struct Sound {
    using Input = std::span<const uint8_t>;

    bool isForm = false, isFound = false, isPcm = true, isLittle = false;
    bool isEndless = false; // its length is unknown
    int bits = 0;
    Wide frame = 1, start = 0, end = 0, headEnd = 0;

    Wide Aligned(Wide bytes) const { return bytes / frame * frame; }

    // An offset from the start as a position within the sound.
    Wide Within(Wide offset) const { return std::min(start + std::max<Wide>(offset, 0), end); }

    // A block of the input as a host gets it.
    Bytes Swapped(Bytes block) const
    {
        if (!isLittle && (bits == 8 || bits == 16 || bits == 24 || bits == 32))
            Swap(block.data(), block.size(), static_cast<size_t>(bits) / 8);
        return block;
    }

    Sound() = default;
    // `in` is what can be read of the input from its start.
    Sound(Input in, const Delivery& by)
    {
        isForm = in.size() >= 12 && Is(in, 0, "FORM", true);
        if (!isForm)
            return;
        const Wide assumed = by.isExact ? 4294967295000 : 3000000000;
        Wide inInput = (by.size > 0 ? by.size : by.isStream ? assumed : Wide(in.size())) - 12;
        Wide inForm = std::max<Wide>(Number(in, 4) - 4, 0);
        bool hasSound = false, hasCommon = false;
        const auto charge = [&](Wide bytes) {
            inInput = std::max<Wide>(inInput - bytes, 0);
            inForm = std::max<Wide>(inForm - bytes, 0);
        };
        Wide size = 0;
        for (Wide at = 12; inInput > 0 && inForm > 0 && at + 8 <= std::ssize(in) && !isFound;
             at += 8 + size + size % 2, charge(size + size % 2)) {
            const auto head = static_cast<size_t>(at);
            charge(8);
            size = Number(in, head + 4);
            size = size > inForm ? inForm : std::min(size, inInput);
            if (Is(in, head, "COMM", by.isStream) && (by.isStream || !hasCommon)) {
                if (!ReadCommon(in, at + 8, size))
                    return;
                hasCommon = true;
            } else if (Is(in, head, "SSND", by.isStream) && !hasSound) {
                hasSound = true;
                start = at + 8 + (by.isStream && !by.isExact ? 0 : 8);
                end = at + 8 + size;
                headEnd = at + 8;
                if (by.isStream && by.isExact)
                    end = start + Aligned(size - 8);
                isEndless = by.isStream && size == 0 && !by.isSeekable;
                if (isEndless)
                    end = 4294967295000;
                if (by.isStream && !hasCommon)
                    return;
            } else if (by.isStream && size != 0) {
                return;
            }
            isFound = by.isStream ? hasSound : hasSound && hasCommon;
        }
    }

private:
    // Of so many bytes, checking each access would take longer than all that is tested.
    __attribute__((no_sanitize("address", "undefined"))) static void Swap(uint8_t* bytes,
                                                                          size_t size, size_t width)
    {
        for (size_t i = 0; width == 1 && i < size; ++i)
            bytes[i] ^= 0x80;
        for (; size >= width; bytes += width, size -= width)
            for (size_t low = 0; low < width / 2; ++low) {
                const uint8_t byte = bytes[low];
                bytes[low] = bytes[width - 1 - low];
                bytes[width - 1 - low] = byte;
            }
    }

    static Wide Number(Input in, size_t at)
    {
        return Wide{in[at]} << 24 | Wide{in[at + 1]} << 16 | Wide{in[at + 2]} << 8 | in[at + 3];
    }

    // Whether there is that code, in upper case or, if that is allowed, all in lower case.
    static bool Is(Input in, size_t at, const char* code, bool mayBeLower)
    {
        bool isUpper = true, isLower = mayBeLower;
        for (size_t i = 0; i < 4; ++i) {
            isUpper = isUpper && in[at + i] == code[i];
            isLower = isLower && in[at + i] == (code[i] | 0x20);
        }
        return isUpper || isLower;
    }

    bool ReadCommon(Input in, Wide at, Wide size)
    {
        if (size < 18 || size > 128000 || at + size > std::ssize(in))
            return false;
        const auto body = static_cast<size_t>(at);
        const auto half = [&](size_t offset) {
            return static_cast<int16_t>(in[body + offset] << 8 | in[body + offset + 1]);
        };
        bits = static_cast<uint16_t>(half(6));
        frame = std::max<uint16_t>(static_cast<uint16_t>(half(0) * half(6) / 8), 1);
        const bool isTyped = Is(in, 8, "AIFC", true) && size >= 22;
        isLittle = isTyped && Is(in, body + 18, "SOWT", true);
        isPcm = !isTyped || isLittle || Is(in, body + 18, "NONE", true);
        return true;
    }
};
