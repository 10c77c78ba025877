// SPDX-License-Identifier: MIT

// What a check has found.
#pragma once

#include "host/base/Json.h"

#include <string>
#include <vector>

namespace aiff::host::validate
{

// What was seen in place of what a host relies on.
struct Fault {
    std::string seen;
    std::string required;
};

// The outcome of one check. It has passed unless it was skipped or has faults.
class Findings
{
public:
    // Notes a fault unless `holds`, which it returns. After the first few, faults are only
    // counted.
    bool Require(bool holds, const std::string& seen, const std::string& required);
    // The check cannot be made here. Faults found before remain.
    void Skip(const std::string& reason) { m_reason = reason; }
    // What was looked at, for people.
    void Note(const std::string& text) { m_notes.push_back(text); }

    bool HasFailed() const { return !m_faults.empty(); }
    bool IsSkipped() const { return !HasFailed() && !m_reason.empty(); }
    const char* Status() const;
    const std::vector<Fault>& Faults() const { return m_faults; }
    // Why it was skipped, how many faults are not listed, and what was looked at.
    std::vector<std::string> Remarks() const;

    // The members "status", "remarks" and "faults" of an object, and back: empty when the
    // object has another form.
    Json ToJson() const;
    static bool FromJson(const Json& object, Findings& findings);

private:
    std::vector<Fault> m_faults;
    size_t m_unlisted = 0;
    std::string m_reason;
    std::vector<std::string> m_notes;
};

} // namespace aiff::host::validate
