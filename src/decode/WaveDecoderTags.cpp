// Tags of a file, as the decoder instance sees them.

#include "decode/WaveDecoder.h"

using StdReport::Operation;

// No tag chunk is read yet: a file has no tags to give.
const XMem* clWaveDecoder::ReadIDTags(XStr&)
{
    const Operation operation(m_report, "ReadIDTags");
    m_tagBuffer.Clear();
    if (!PullOutCOMMnSSND())
        return nullptr;
    Operation(m_report, "InternalReadTags").Succeed();
    StdReport::WriteDEBUG({int64_t{0}, L" ID Tags:"}, m_report);
    operation.Succeed();
    return nullptr;
}

bool clWaveDecoder::WriteIDTags(const wchar_t* path, const uint8_t* blob, int32_t size,
                                const STNStdReport& report)
{
    const Operation operation(report, "WriteIDTags");
    if (path == nullptr || blob == nullptr || size == 0)
        return false;
    NTag tags;
    tags.InitFromRawMemory(blob, size);
    if (tags.Count() == 0)
        return operation.Succeed();
    return false;
}

bool clWaveDecoder::DeleteTags(const wchar_t*, const std::vector<XStr>&, bool, const STNStdReport&)
{
    return false;
}
