// The walk through the chunk headers of a form, shared by files and streams: what
// may be believed of the sizes that the headers claim, and what is reported.
#pragma once

#include "aiff/FourCC.h"
#include "support/StdReport.h"

#include <span>

// What a form header says.
struct STFormHeader {
    uint32_t code = 0;
    int64_t nSize = 0;
    uint32_t type = 0;
};

// What a chunk header says, the size cut to what the form and the input hold.
struct STChunkHeader {
    enum class CutTo { Nothing, Form, Input };
    uint32_t code = 0;
    int64_t nSize = 0;
    CutTo cutTo = CutTo::Nothing; // what was too small for the claimed size
};

// Counts down two budgets, the bytes left of the input and those left of the form,
// and measures every chunk against both. Reports under the operation's name.
class FormWalk
{
public:
    FormWalk(const STNStdReport& report, const char* operation)
        : m_report(report), m_operation(operation)
    {
    }

    // Takes the 12 bytes of the form header (fewer when the input ended) and the
    // size of the input. False when this is no form.
    [[nodiscard]] bool Begin(std::span<const uint8_t> header, int64_t inputSize,
                             STFormHeader& form);

    // Whether another chunk header is due.
    bool MoreChunks() const { return m_inputLeft != 0 && m_formLeft != 0; }

    // Takes a chunk header (fewer than 8 bytes when the input ended: false, the walk
    // is over). `position` is its offset in the input. A code that equals
    // `mayOverrun` may run past the end of the input with no more than an
    // information; null for none.
    [[nodiscard]] bool TakeHeader(std::span<const uint8_t> header, int64_t position,
                                  const char* mayOverrun, STChunkHeader& chunk);

    // Charges the data of a chunk, pad byte included, after it was passed over.
    void Passed(int64_t paddedSize);

private:
    void Clamp(STChunkHeader& chunk, const char* mayOverrun);

    const STNStdReport& m_report;
    const char* m_operation;
    int64_t m_inputLeft = 0;
    int64_t m_formLeft = 0;
};
