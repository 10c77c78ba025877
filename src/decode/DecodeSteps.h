// Steps of decoding that files and streams share.
#pragma once

#include "decode/SoundRange.h"
#include "qvcodec.h"
#include "support/StdReport.h"
#include "support/XMem.h"
#include "tags/NTag.h"

namespace DecodeSteps
{

// Names of operations in the report.
inline constexpr const char* kPullOut = "PullOutCOMMnSSND";
inline constexpr const char* kPrepare = "PrepareToDecodeAudio";
inline constexpr const char* kReadDataBlock = "ReadDataBlock";
inline constexpr const char* kSetPosition = "SetPosition";

// Shows the format in the trace. False, with an error, when it is compressed.
[[nodiscard]] bool CheckFormat(const XAudioWFX& wfx, const STNStdReport& report);

// Bytes of the next block, at most what remains. Less than a frame that remains is
// dropped.
int64_t NextBlockSize(const XAudioWFX& wfx, int64_t& remaining);

// Hands out the block in the buffer, turned from file order to host order unless the
// samples are little-endian.
void FillBlock(XMem& buffer, const XAudioWFX& wfx, bool littleEndian, STQvAudioBlock* block);

// Writes a list of properties into the trace and encodes it. False, with an empty
// block, when memory is short.
[[nodiscard]] bool EncodeProps(const NTag& props, const STNStdReport& report, XMem& blob);

} // namespace DecodeSteps
