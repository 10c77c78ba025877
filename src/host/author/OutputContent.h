// SPDX-License-Identifier: MIT

// How the core writes to an output of the host.
#pragma once

#include "host/base/Problem.h"
#include "host/batch/OutputFile.h"
#include "support/file/DiskFile.h"

namespace aiff::host
{

// The bytes of an output, for writers that seek in it. Must be destroyed before the output
// is committed.
class OutputContent : public DiskFile
{
public:
    // The output must be open.
    explicit OutputContent(const OutputFile& output);

    [[nodiscard]] std::error_code WriteAt(int64_t position,
                                          std::span<const uint8_t> bytes) override;
    [[nodiscard]] std::error_code SetSize(int64_t size) override;

    // After a failure: its cause.
    Problem Failure() const { return m_failure ? m_failure : "cannot be written"; }

private:
    std::error_code Noted(std::error_code error);

    Problem m_failure;
};

} // namespace aiff::host
