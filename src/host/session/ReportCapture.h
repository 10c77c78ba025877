// SPDX-License-Identifier: MIT

// Reading what decoders report.
#pragma once

#include "host/base/Trace.h"
#include "qvcodec.h"

#include <string>
#include <vector>

namespace aiff::host
{

// Collects what decoders report about one input at a time, and shows it when a trace is
// wanted. Used by one thread, for any number of instances.
//
// The lines pass through pipes whose writing ends never block: a decoder that writes too
// much loses lines but never waits. They are open from Handles() to Rest().
class ReportCapture
{
public:
    explicit ReportCapture(const Trace& trace);
    ReportCapture(const ReportCapture&) = delete;
    ReportCapture& operator=(const ReportCapture&) = delete;
    ~ReportCapture();

    // To be passed to Create; valid until Rest().
    STNStdReport Handles();
    // Gives the descriptors back while there is no decoder at work. What was collected stays.
    void Rest();

    // Reads what was written since the last call.
    void Collect();
    // Forgets all lines, before the next input.
    void Clear();

    // Lines collected since Clear, without line ends and "  [operation]".
    const std::vector<std::string>& Errors() const { return m_errors.lines; }
    const std::vector<std::string>& Information() const { return m_information.lines; }

private:
    struct Channel {
        int reading = -1;
        int writing = -1;
        bool shown = false; // copied to the trace
        std::string partial;
        std::vector<std::string> lines;
    };

    static void OpenChannel(Channel& channel);
    void Read(Channel& channel);

    Trace m_trace;
    Channel m_errors;
    Channel m_information;
};

} // namespace aiff::host
