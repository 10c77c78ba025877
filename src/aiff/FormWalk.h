// SPDX-License-Identifier: MIT

// The walk through the chunk headers of a form, shared by files and streams: how far to
// trust the sizes that the headers claim, and what to report.
#pragma once

#include "aiff/FourCC.h"
#include "support/StdReport.h"

#include <span>

namespace aiff
{

// What a form header says. Codes have their first character in the low byte.
struct FormHeader {
    uint32_t code = 0;
    int64_t size = 0; // bytes after this field
    uint32_t type = 0;
};

// What a chunk header says, with the size cut to what the form and the input hold.
struct ChunkHeader {
    enum class CutTo { Nothing, Form, Input };
    uint32_t code = 0;
    int64_t size = 0;             // data bytes, the pad byte not counted
    CutTo cutTo = CutTo::Nothing; // what was too small for the claimed size
};

// Counts down two budgets, the bytes left in the input and those left in the form, and
// measures every chunk against both. Reports under the operation's name.
class FormWalk
{
public:
    // The report and the name must outlive the walk.
    FormWalk(const STNStdReport& report, const char* operation)
        : m_report(report), m_operation(operation)
    {
    }

    // Parses the 12 bytes of the form header (fewer when the input ended). `inputSize` is
    // the size of the whole input. False, with an error reported, when this is no form.
    [[nodiscard]] bool Begin(std::span<const uint8_t> header, int64_t inputSize, FormHeader& form);

    // Whether another chunk header is due.
    bool MoreChunks() const { return m_inputLeft != 0 && m_formLeft != 0; }

    // Parses the 8 bytes of a chunk header. Fewer mean that the input ended: false, and
    // the walk is over. `position` is the header's offset in the input. A chunk whose code
    // equals `mayOverrun` (null: none) may extend past the end of the input, which is then
    // reported as information instead of an error.
    [[nodiscard]] bool ParseHeader(std::span<const uint8_t> header, int64_t position,
                                   const char* mayOverrun, ChunkHeader& chunk);

    // Charges the data of a chunk, pad byte included, once it has been passed.
    void ChargeData(int64_t paddedSize);

private:
    void Clamp(ChunkHeader& chunk, const char* mayOverrun);

    const STNStdReport& m_report;
    const char* m_operation;
    int64_t m_inputLeft = 0;
    int64_t m_formLeft = 0;
};

} // namespace aiff
