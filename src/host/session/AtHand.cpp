#include "host/session/AtHand.h"

#include "host/session/DecoderSession.h"
#include "host/session/Reason.h"
#include "support/text/Ascii.h"

#include <span>

namespace aiff::host
{
namespace
{

constexpr char kMoreAfterSound[] = "has chunks after its sound, where tags are";
// Enough for all chunks that may come before the sound of a stream.
constexpr size_t kStart = 256 * 1024;
constexpr size_t kFormHeader = 12;
constexpr size_t kChunkHeader = 8;

// A four-byte big-endian number.
uint64_t Number(std::span<const uint8_t> bytes)
{
    return uint64_t{bytes[0]} << 24 | uint64_t{bytes[1]} << 16 | uint64_t{bytes[2]} << 8 | bytes[3];
}

// Whether the form that begins with these bytes goes on after its sound.
bool GoesOnAfterSound(std::span<const uint8_t> start)
{
    uint64_t at = kFormHeader;
    while (at + kChunkHeader <= start.size()) {
        const auto chunk = start.subspan(at, kChunkHeader);
        const uint64_t size = Number(chunk.subspan(4));
        at += kChunkHeader + size + size % 2;
        if (EqualNoCase({reinterpret_cast<const char*>(chunk.data()), 4}, "SSND"))
            return size != 0 && at < Number(start.subspan(4)) + kChunkHeader;
    }
    return false;
}

// Why decoders do not read from the stream what is wanted; nothing when they do.
Problem StreamProblem(const codecs::CodecLoader& loader, ReportCapture& report, const Input& input,
                      Wanted wanted)
{
    DecoderSession session(loader, report);
    if (!session.Open(input, QV_OPEN_AUDIO_INFO))
        return FailureReason(session);
    if (wanted == Wanted::Sound || session.HasUnknownLength())
        return {};
    const Result<std::vector<uint8_t>> start = FetchStart(input, kStart);
    if (!start)
        return start.Why();
    return GoesOnAfterSound(*start) ? kMoreAfterSound : Problem();
}

} // namespace

Result<InputAtHand> BringToHand(const codecs::CodecLoader& loader, ReportCapture& report,
                                const Input& input, Wanted wanted, Fetch fetch,
                                const ReceivedFunction& received)
{
    Problem reason;
    if (input.NeedsCopy() && input.IsUrl())
        reason = "decoders read http:// only";
    else if (input.IsUrl() && fetch == Fetch::Always)
        reason = "--fetch asks for it";
    else if (input.IsUrl())
        reason = StreamProblem(loader, report, input, wanted);
    if (reason && fetch == Fetch::Never && reason.Text() == kMoreAfterSound)
        return InputAtHand{
            input, {}, std::string(kMoreAfterSound) + ", which --no-fetch leaves out"};
    if (reason && fetch == Fetch::Never)
        return Problem(reason.Text() + " (and --no-fetch was given)");
    if (!reason && !input.NeedsCopy())
        return InputAtHand{input};
    Result<LocalCopy> copy = MakeLocalCopy(input, received);
    if (!copy)
        return copy.Why();
    const std::string note = reason ? "fetched as a whole: " + reason.Text() : std::string();
    return InputAtHand{std::move(copy->input), std::move(copy->incomplete), note};
}

} // namespace aiff::host
