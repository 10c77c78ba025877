// SPDX-License-Identifier: MIT

// Tags of a file, as the decoder instance sees them.

#include "decode/TagWriter.h"
#include "decode/WaveDecoder.h"

#include <algorithm>
#include <new>

namespace aiff
{

using StdReport::Operation;

namespace
{

// How the properties name the tag of an AIFF file.
constexpr const wchar_t* kTagDescription = L"iTunes ID3";
constexpr size_t kTracedBytes = 20;

// What the trace shows of an item: its value, or the size and the first bytes of its data.
XStr ItemText(const STInternalTag& item)
{
    if (!item.value.empty())
        return item.value;
    XStr text = L"DATA Length: " + std::to_wstring(item.data.size()) + L"   ";
    for (size_t i = 0; i < std::min(item.data.size(), kTracedBytes); ++i)
        text +=
            item.data[i] >= 32 && item.data[i] <= 126 ? static_cast<wchar_t>(item.data[i]) : L'.';
    return text;
}

} // namespace

const XMem* clWaveDecoder::ReadIDTags(XStr& properties)
{
    const Operation operation(m_report, "ReadIDTags");
    m_tagBuffer.Clear();
    if (!PullOutCOMMnSSND())
        return nullptr;
    // Without its tags the sound is still worth having.
    if (!FillTagBuffer(properties)) {
        StdReport::WriteERROR({L"Error the tags are left out: there is not enough memory."},
                              m_report, "ReadIDTags");
        if (!NTag().ToRawMemory(m_tagBuffer))
            return nullptr;
    }
    operation.Succeed();
    return &m_tagBuffer;
}

// False when memory is short, or when no blob holds the tags.
bool clWaveDecoder::FillTagBuffer(XStr& properties)
try {
    TagItems items;
    int index = -1;
    InternalReadTags(m_aiff, &items, index, m_report);
    if (index >= 0) {
        if (!properties.empty())
            properties += L" & ";
        properties += kTagDescription;
    }
    int64_t count = 0;
    if (!items.ToRawMemory(m_tagBuffer, count))
        return false;
    StdReport::WriteDEBUG({count, L" ID Tags:"}, m_report);
    if (StdReport::IsOn(m_report.hDebug))
        TraceTags(items.List());
    return true;
} catch (const std::bad_alloc&) {
    m_tagBuffer.Clear();
    return false;
}

void clWaveDecoder::TraceTags(const NTag& tags) const
{
    for (long i = 0; i < tags.Count(); ++i)
        StdReport::WriteDEBUGWithPrefix({L"\t\t\t"}, {tags[i].name, L": ", ItemText(tags[i])},
                                        m_report);
}

bool clWaveDecoder::WriteIDTags(const wchar_t* path, const uint8_t* blob, int32_t size,
                                const STNStdReport& report, Durability durability)
{
    const Operation operation(report, "WriteIDTags");
    if (path == nullptr || blob == nullptr || size == 0)
        return false;
    NTag tags;
    tags.InitFromRawMemory(blob, size);
    const bool written =
        tags.Count() == 0 ||
        TagWriter(report, durability).Run(path, std::move(tags), TagWriter::Task::Write);
    operation.Leave();
    return written;
}

bool clWaveDecoder::DeleteTags(const wchar_t* path, const std::vector<XStr>& names,
                               const STNStdReport& report, Durability durability)
{
    NTag tags;
    for (const XStr& name : names)
        tags.AddTag(name, XStr());
    const auto task = names.empty() ? TagWriter::Task::DeleteAll : TagWriter::Task::DeleteFields;
    return TagWriter(report, durability).Run(path, std::move(tags), task);
}

} // namespace aiff
