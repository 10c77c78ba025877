// SPDX-License-Identifier: MIT
#include "host/validate/Findings.h"

#include "host/base/Printable.h"

#include <cstring>

namespace aiff::host::validate
{
namespace
{

constexpr size_t kMaxFaults = 5;

constexpr char kPassed[] = "passed";
constexpr char kFailed[] = "failed";
constexpr char kSkipped[] = "skipped";

} // namespace

bool Findings::Require(bool holds, const std::string& seen, const std::string& required)
{
    if (!holds && m_faults.size() < kMaxFaults)
        m_faults.push_back({seen, required});
    else if (!holds)
        ++m_unlisted;
    return holds;
}

const char* Findings::Status() const
{
    if (HasFailed())
        return kFailed;
    return IsSkipped() ? kSkipped : kPassed;
}

std::vector<std::string> Findings::Remarks() const
{
    std::vector<std::string> remarks;
    if (!m_reason.empty())
        remarks.push_back(m_reason);
    if (m_unlisted > 0)
        remarks.push_back(Counted(static_cast<int64_t>(m_unlisted), "fault") + " more");
    remarks.insert(remarks.end(), m_notes.begin(), m_notes.end());
    return remarks;
}

Json Findings::ToJson() const
{
    Json faults = Json::array();
    for (const Fault& fault : m_faults)
        faults.push_back({{"seen", fault.seen}, {"required", fault.required}});
    return {{"status", Status()}, {"remarks", Remarks()}, {"faults", faults}};
}

bool Findings::FromJson(const Json& object, Findings& findings)
{
    try {
        Findings read;
        for (const Json& fault : object.at("faults"))
            read.m_faults.push_back({fault.at("seen"), fault.at("required")});
        read.m_notes = object.at("remarks").get<std::vector<std::string>>();
        if (object.at("status") == kSkipped) {
            read.m_reason = read.m_notes.at(0);
            read.m_notes.erase(read.m_notes.begin());
        }
        findings = read;
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

} // namespace aiff::host::validate
