// SPDX-License-Identifier: MIT
#include "host/session/TagFile.h"

#include "host/batch/Interruption.h"
#include "host/session/Reason.h"
#include "support/text/XStr.h"

#include <algorithm>

namespace aiff::host
{

TagFile::TagFile(const codecs::CodecLoader& loader, ReportCapture& report, const Input& input,
                 Durability durability)
    : m_report(report), m_input(input), m_durability(durability), m_session(loader, report)
{
}

// A decoder reports success for a change to a file that it does not know, so whether it
// knows the file is found out here.
Problem TagFile::Read()
{
    if (Problem problem = m_input.FileProblem())
        return problem;
    if (!m_session.Open(m_input, QV_OPEN_READ_TAGS))
        return FailureReason(m_session);
    m_items = m_session.Tags();
    return {};
}

Problem TagFile::Write(const std::vector<TagItem>& items)
{
    std::vector<TagItem> kept;
    std::copy_if(items.begin(), items.end(), std::back_inserter(kept),
                 [](const TagItem& item) { return !item.IsInformation(); });
    Result<std::vector<uint8_t>> blob = MakeTagBlob(kept);
    if (!blob)
        return blob.Why();
    const std::wstring path = m_input.WidePath();
    return ChangeByDecoder([&](codecs::DecoderInstance& decoder) {
        STQvCodecGetSet record{};
        record.pText1 = path.c_str();
        record.pData = blob->data();
        record.nDataSize = static_cast<int32_t>(blob->size());
        return decoder.Set(QV_KEY_ID_TAGS, record);
    });
}

Problem TagFile::Remove(const std::vector<std::string>& names)
{
    std::wstring packed; // an empty list would mean everything
    for (const std::string& name : names) {
        if (name.empty())
            return "an empty name names no field";
        packed += FromPathBytes(name) + L'\0';
    }
    if (packed.empty())
        return {};
    return ChangeByDecoder([&](codecs::DecoderInstance& decoder) {
        return decoder.DeleteATag(m_input.WidePath().c_str(), packed.c_str());
    });
}

Problem TagFile::RemoveAll()
{
    return ChangeByDecoder([&](codecs::DecoderInstance& decoder) {
        return decoder.DeleteATag(m_input.WidePath().c_str(), nullptr);
    });
}

template <class Call>
Problem TagFile::ChangeByDecoder(Call call)
{
    return Change([&](const STNStdReport& report) {
        codecs::DecoderInstance decoder(m_session.UsedDecoder().codec, report);
        STQvCodecGetSet durable{};
        // An older decoder does not know the key, and need not.
        if (m_durability == Durability::Fast)
            (void)!decoder.Set(QV_KEY_DURABLE_EDITS, durable);
        return call(decoder);
    });
}

Problem TagFile::Change(const Edit& edit)
{
    m_report.Clear();
    const bool done = Interruption::Undisturbed([&] { return edit(m_report.Handles()); });
    m_report.Collect();
    m_notes = EditNotes(m_report.Information());
    return done ? Problem() : EditFailureReason(m_input, m_report.Errors());
}

} // namespace aiff::host
