// SPDX-License-Identifier: MIT

// Changing a file in place so that readers see the old content or the new one, never a
// mixture, whenever the program or the power ends.
#pragma once

#include "support/file/EditTarget.h"
#include "support/file/FlushFile.h"

#include <vector>

namespace aiff
{

// The units of a file, in bytes: a sector reaches the disk whole or not at all, and a write changes
// a page whole or not at all as long as the power stays on.
inline constexpr int64_t kSector = 512;
inline constexpr int64_t kPage = 4096;

// One write. What it changes is either hidden, in a place that no reader looks at then, or
// lies in one sector (unflushed: one page) and changes what readers see at once.
struct InPlaceStep {
    int64_t position = 0;
    std::vector<std::span<const uint8_t>> bytes; // one after the other
    std::span<const uint8_t> before;             // what a switch overwrites; empty: hidden
};

// An edit as a list of writes. Before the decisive step, hidden ones lie past the end of the old
// file only.
struct InPlaceChange {
    std::vector<InPlaceStep> steps;
    size_t decisive = 0;    // index of the step that makes the new content visible
    int64_t sizeBefore = 0; // of the file
    int64_t sizeAfter = 0;  // to which the file is cut in the end, if it is larger
    std::vector<std::vector<uint8_t>>
        owned; // what the steps' bytes refer to, if nobody else has it
};

struct EditResult {
    enum class File {
        Changed,
        Untidy, // changed, but bytes are left in it that no reader looks at
        AsBefore,
        Unrestored, // well-formed, but perhaps the new content, perhaps with such bytes
        Overtaken   // as another program left it
    };
    File file = File::Changed;
    std::error_code error; // what went wrong; none for Changed
};

// Carries out a change step by step, with a barrier after each if edits are to be flushed. A
// failure up to the decisive step takes back what was done; one after it ends the edit there.
class InPlaceWriter
{
public:
    // The target must outlive the writer.
    InPlaceWriter(EditTarget& target, Durability durability)
        : m_target(target), m_file(*target.File()), m_durability(durability)
    {
    }

    // Allocates nothing once it has begun to write. Closes the file if nothing was flushed.
    [[nodiscard]] EditResult Run(const InPlaceChange& change);

private:
    bool Waits() const { return m_durability == Durability::Flushed; }
    EditResult Finish(int64_t size);
    std::error_code Carry(const InPlaceStep& step, Flush flush);
    std::error_code Write(const InPlaceStep& step);
    std::error_code TakeBack(std::span<const InPlaceStep> steps);

    EditTarget& m_target;
    DiskFile& m_file;
    Durability m_durability;
    int64_t m_size = 0; // of the file, with what was written
    std::vector<uint8_t> m_buffer;
};

} // namespace aiff
