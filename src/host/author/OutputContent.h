#pragma once

#include "host/batch/OutputFile.h"
#include "support/file/DiskFile.h"

#include <string>

namespace host
{

// The bytes of an output that is being written, for writers that go back and forth in
// it. To be let go before the output is committed.
class OutputContent : public DiskFile
{
public:
    // The output is open.
    explicit OutputContent(const OutputFile& output);

    [[nodiscard]] bool WriteAt(int64_t position, std::span<const uint8_t> bytes) override;
    [[nodiscard]] bool SetSize(int64_t size) override;

    // After a failure: why, in a few words.
    const std::string& Problem() const { return m_problem; }

private:
    bool Checked(bool done);

    std::string m_problem;
};

} // namespace host
