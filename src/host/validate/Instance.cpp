// SPDX-License-Identifier: MIT
#include "host/validate/Instance.h"

#include "support/text/XStr.h"

#include <unistd.h>

namespace aiff::host::validate
{
namespace
{

// A host that gets this many blocks without audio in a row takes the decoder for stuck.
constexpr int kMaxEmptyBlocks = 1000;

int g_announcements = -1;

} // namespace

void AnnounceCallsOn(int descriptor)
{
    g_announcements = descriptor;
}

void AnnounceCall(const std::string& call)
{
    const std::string line = call + "\n";
    if (g_announcements >= 0)
        (void)!write(g_announcements, line.data(), line.size());
}

Instance::Instance(const codecs::DecoderFunctions& functions, const STNStdReport* report)
    : m_functions(functions)
{
    AnnounceCall("Create");
    m_handle = m_functions.Create(report);
}

Instance::~Instance()
{
    if (m_handle != nullptr)
        Destroy();
}

int32_t Instance::Open(const std::string& path, uint32_t flags, uint8_t fill)
{
    AnnounceCall("Open of " + path);
    const XStr name = FromPathBytes(path);
    return OpenName(name.c_str(), flags, fill);
}

int32_t Instance::OpenName(const wchar_t* name, uint32_t flags, uint8_t fill)
{
    open.Fill(fill);
    open->pFileName = name;
    open->nFlags = flags;
    return m_functions.Open(m_handle, open.Pointer());
}

int32_t Instance::DecodeBlock(uint8_t fill)
{
    AnnounceCall("DecodeBlock");
    block.Fill(fill);
    return m_functions.DecodeBlock(m_handle, block.Pointer());
}

int32_t Instance::SetPosition(int64_t frame)
{
    AnnounceCall("SetPosition to " + std::to_string(frame));
    return m_functions.SetPosition(m_handle, frame);
}

int32_t Instance::Close()
{
    AnnounceCall("Close");
    Guarded<STQvEncoderFluid> fluid;
    return m_functions.Close(m_handle, fluid.Pointer());
}

int32_t Instance::Destroy()
{
    AnnounceCall("Destroy");
    const int32_t result = m_functions.Destroy(m_handle);
    m_handle = nullptr;
    return result;
}

int32_t Instance::Get(const wchar_t* key, uint32_t index, uint8_t fill)
{
    AnnounceCall("Get \"" + ToUtf8(key) + "\"");
    getSet.Fill(fill);
    getSet->nItemIndex = index;
    return m_functions.Get(m_handle, key, getSet.Pointer());
}

int32_t Instance::Set(const wchar_t* key, int64_t value1, int64_t value2)
{
    AnnounceCall("Set \"" + ToUtf8(key) + "\"");
    getSet.Fill(0);
    getSet->nValue1 = value1;
    getSet->nValue2 = value2;
    return m_functions.Set(m_handle, key, getSet.Pointer());
}

int32_t Instance::SetRange(int64_t first, int64_t end)
{
    return Set(QV_KEY_SET_DECODE_RANGE, first, end);
}

int32_t Instance::SetTags(const std::string& path, const Bytes& blob)
{
    AnnounceCall("Set \"IDTags\" for " + path);
    const XStr name = FromPathBytes(path);
    getSet.Fill(0);
    getSet->pText1 = name.c_str();
    getSet->pData = blob.data();
    getSet->nDataSize = static_cast<int32_t>(blob.size());
    return m_functions.Set(m_handle, QV_KEY_ID_TAGS, getSet.Pointer());
}

int32_t Instance::DeleteATag(const std::string& path, const wchar_t* names)
{
    AnnounceCall("DeleteATag for " + path);
    return m_functions.DeleteATag(m_handle, FromPathBytes(path).c_str(), names);
}

Bytes Instance::Samples() const
{
    const STQvAudioBlock record = block.Value();
    if (record.pData == nullptr)
        return {};
    return {record.pData, record.pData + record.nDataSize};
}

Instance::Rest Instance::DecodeRest(size_t limit)
{
    Rest rest;
    int emptyBlocks = 0;
    do {
        if (DecodeBlock() != 1)
            return rest.problem = "DecodeBlock fails", rest;
        const Bytes samples = Samples();
        rest.samples.insert(rest.samples.end(), samples.begin(), samples.end());
        emptyBlocks = samples.empty() ? emptyBlocks + 1 : 0;
        if (emptyBlocks > kMaxEmptyBlocks || rest.samples.size() > limit)
            return rest.problem = "the blocks do not end", rest;
    } while (block->nLastBlock == 0);
    return rest;
}

} // namespace aiff::host::validate
