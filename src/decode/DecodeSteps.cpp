#include "decode/DecodeSteps.h"

#include "aiff/AIFFHandler.h"

namespace DecodeSteps
{

bool CheckFormat(const XAudioWFX& wfx, const STNStdReport& report)
{
    StdReport::WriteDEBUG(L"WFX (on file): ", report, nullptr, false);
    StdReport::WriteDEBUG({StdReport::IsOn(report.hDebug) ? wfx.WFXToString() : XStr()}, report);
    if (wfx.FormatTag() == kTagPCM)
        return true;
    StdReport::WriteERROR({L"Error - file has compressed audio (not supported)."}, report,
                          kPrepare);
    return false;
}

int64_t NextBlockSize(const XAudioWFX& wfx, int64_t& remaining)
{
    if (remaining < wfx.BlockAlign())
        remaining = 0;
    return std::min(wfx.BlockAlignBuffer(kBlockBytes), remaining);
}

void FillBlock(XMem& buffer, const XAudioWFX& wfx, bool littleEndian, STQvAudioBlock* block)
{
    if (!littleEndian)
        clAIFFHandler::ByteSwap(buffer, wfx.BitsPerSample());
    block->pData = buffer.Data();
    block->nDataSize = static_cast<uint32_t>(buffer.Used());
    wfx.CopyBasicTo(&block->WaveFormat);
    block->nBitRate = wfx.BitRate();
    block->nDurationMS = wfx.CalcmsTime(static_cast<int64_t>(buffer.Used()));
}

bool EncodeProps(const NTag& props, const STNStdReport& report, XMem& blob)
{
    for (long i = 0; i < props.Count(); ++i)
        StdReport::WriteDEBUGWithPrefix({L"\t", props[i].name, L": "}, {props[i].value}, report);
    return props.ToRawMemory(blob);
}

} // namespace DecodeSteps
