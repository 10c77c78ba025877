// How the core writes to an output of the host.
#pragma once

#include "host/base/Problem.h"
#include "host/batch/OutputFile.h"
#include "support/file/DiskFile.h"

namespace host
{

// The bytes of an output, for writers that seek in it. Must be destroyed before the output
// is committed.
class OutputContent : public DiskFile
{
public:
    // The output must be open.
    explicit OutputContent(const OutputFile& output);

    [[nodiscard]] bool WriteAt(int64_t position, std::span<const uint8_t> bytes) override;
    [[nodiscard]] bool SetSize(int64_t size) override;

    // After a failure: its cause.
    Problem Failure() const { return m_failure ? m_failure : "cannot be written"; }

private:
    bool Checked(bool done);

    Problem m_failure;
};

} // namespace host
