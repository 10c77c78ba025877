// SPDX-License-Identifier: MIT
#include "host/session/AtHand.h"

#include "host/session/DecoderSession.h"
#include "host/session/Reason.h"
#include "support/text/Ascii.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <span>
#include <string_view>

namespace aiff::host
{
namespace
{

constexpr char kMoreAfterSound[] = "has data after its sound, where tags and markers may be";
constexpr char kMarksBeforeSound[] =
    "has markers, loops, comments or broadcast data, which a stream does not show";
// The chunks with these.
constexpr std::string_view kMarks[] = {"MARK", "INST", "COMT", "bext", "iXML"};
constexpr char kNeedsFile[] = "can only be read as a file here";
// Enough for all chunks that may come before the sound of a stream.
constexpr size_t kStart = 256 * 1024;
constexpr size_t kFormHeader = 12;
constexpr size_t kChunkHeader = 8;
constexpr size_t kSoundPrefix = 8; // offset and block size
constexpr size_t kLeastCommon = 18;

// A four-byte big-endian number.
uint64_t Number(std::span<const uint8_t> bytes)
{
    return uint64_t{bytes[0]} << 24 | uint64_t{bytes[1]} << 16 | uint64_t{bytes[2]} << 8 | bytes[3];
}

// What the headers up to the sound say that a stream does not show.
struct StreamStart {
    bool isRegular; // the sound is as long as promised, and begins where expected
    bool isPlain;   // its samples are integers of whole bytes, not coded in another way
    bool hasMarks;  // one of kMarks comes before the sound
    bool goesOn;    // there is more after the sound
    bool hasLength; // the server says how much there is
};

// Whether decoders take the samples that a COMM chunk describes: integers of whole bytes.
bool IsPlain(bool isAifc, std::span<const uint8_t> body)
{
    constexpr size_t kCoding = 18; // four characters
    constexpr size_t kBitsLowByte = 7;
    if (body[kBitsLowByte] % 8 != 0)
        return false;
    if (!isAifc || body.size() < kCoding + 4)
        return true;
    const std::string_view coding{reinterpret_cast<const char*>(&body[kCoding]), 4};
    return EqualNoCase(coding, "NONE") || EqualNoCase(coding, "sowt");
}

// None before the header of the sound is there.
std::optional<StreamStart> ReadStart(std::span<const uint8_t> start, int64_t whole)
{
    uint64_t soundBytes = 0; // as COMM promises
    bool isPlain = true;
    bool hasMarks = false;
    const bool isAifc = start.size() >= kFormHeader && start[kFormHeader - 1] == 'C';
    uint64_t at = kFormHeader;
    while (at + kChunkHeader <= start.size()) {
        const auto chunk = start.subspan(at);
        const uint64_t size = Number(chunk.subspan(4));
        const auto body = chunk.subspan(kChunkHeader);
        at += kChunkHeader + size + size % 2;
        const std::string_view code{reinterpret_cast<const char*>(chunk.data()), 4};
        if (code == "COMM" && body.size() >= kLeastCommon) {
            const uint64_t channels = Number(body) >> 16;
            const uint64_t bits = Number(body.subspan(4)) & 0xFFFF;
            soundBytes = Number(body.subspan(2)) * channels * ((bits + 7) / 8);
            isPlain = IsPlain(isAifc, body);
        }
        hasMarks |= std::ranges::find(kMarks, code) != std::end(kMarks);
        if (code == "SSND" && body.size() >= kSoundPrefix)
            return StreamStart{
                Number(body) == 0 && size == soundBytes + kSoundPrefix, isPlain, hasMarks,
                at < Number(start.subspan(4)) + kChunkHeader || static_cast<int64_t>(at) < whole,
                whole >= 0};
    }
    return std::nullopt;
}

// Why decoders do not read all from the stream; nothing when they do.
//
// hasLength  becomes false when the server does not say how much there is
Problem StreamProblem(const codecs::CodecLoader& loader, ReportCapture& report, const Input& input,
                      bool& hasLength)
{
    DecoderSession session(loader, report);
    if (!session.Open(input, QV_OPEN_AUDIO_INFO))
        return FailureReason(session);
    if (session.HasUnknownLength())
        return {};
    std::optional<StreamStart> headers;
    const Problem problem =
        FetchStart(input, kStart, [&headers](std::span<const uint8_t> start, int64_t whole) {
            headers = ReadStart(start, whole);
            return headers.has_value();
        });
    if (problem && !headers)
        return problem;
    if (headers && !headers->isPlain)
        return "has samples that are coded or do not fill their bytes, which are decoded from a "
               "file";
    if (!headers || !headers->isRegular)
        return "has sizes that contradict each other, which are better judged in a file";
    hasLength = headers->hasLength;
    if (headers->hasMarks)
        return kMarksBeforeSound;
    return headers->goesOn ? kMoreAfterSound : Problem();
}

// What the end of a stream lacks. Reads it all.
Problem FindDamage(const codecs::CodecLoader& loader, ReportCapture& report, const Input& input)
{
    DecoderSession session(loader, report);
    if (!session.Open(input, QV_OPEN_PREPARE_DECODE))
        return FailureReason(session);
    std::span<const uint8_t> pcm;
    DecoderSession::Step step = session.Next(pcm);
    while (step == DecoderSession::Step::Block)
        step = session.Next(pcm);
    return step == DecoderSession::Step::End ? DamageWarning(session) : FailureReason(session);
}

// Copies the input.
//
// reason  of a URL, with the URL as its subject
Result<InputAtHand> CopyToHand(const Input& input, const Problem& reason, Fetch fetch,
                               const ReceivedFunction& received)
{
    if (reason && fetch == Fetch::Never)
        return Problem(reason.Text() + "; it is not fetched as a whole, as --no-fetch says");
    Result<LocalCopy> copy = MakeLocalCopy(input, received);
    if (!copy)
        return copy.Why();
    std::string fetched = input.IsUrl() ? "was fetched as a whole" : "";
    if (reason && fetch != Fetch::Always)
        fetched += ", because it " + reason.Text();
    return InputAtHand{std::move(copy->input), std::move(copy->incomplete), fetched};
}

} // namespace

void SayHowItCame(const InputAtHand& input, const std::string& name, bool isQuiet)
{
    for (const std::string& text : {isQuiet ? std::string() : input.fetched, input.leftOut})
        if (!text.empty())
            SayProblem(Problem(text).About(name));
}

Result<InputAtHand> BringToHand(const codecs::CodecLoader& loader, ReportCapture& report,
                                const Input& input, Wanted wanted, Fetch fetch,
                                const ReceivedFunction& received)
{
    if (!input.IsUrl() || fetch == Fetch::Always)
        return BringFileToHand(input, fetch, received);
    bool hasLength = true;
    const Problem reason = input.NeedsCopy() ? Problem("is at an https:// address")
                                             : StreamProblem(loader, report, input, hasLength);
    const bool isOfMore = reason.Text() == kMoreAfterSound || reason.Text() == kMarksBeforeSound;
    const bool isEnough = fetch == Fetch::Never || wanted == Wanted::Sound;
    const bool isStream = !reason || (isEnough && isOfMore);
    if (isStream) {
        const bool isRead = wanted == Wanted::Description && !hasLength;
        const char* const why = fetch == Fetch::Never ? ", which --no-fetch leaves out"
                                                      : " (left out; --fetch reads it as a file)";
        const std::string leftOut = reason ? reason.Text() + why : "";
        return InputAtHand{
            input, isRead ? FindDamage(loader, report, input) : Problem(), {}, leftOut};
    }
    return CopyToHand(input, reason, fetch, received);
}

Result<InputAtHand> BringFileToHand(const Input& input, Fetch fetch,
                                    const ReceivedFunction& received)
{
    if (input.IsFile())
        return InputAtHand{input};
    return CopyToHand(input, input.IsUrl() ? kNeedsFile : Problem(), fetch, received);
}

} // namespace aiff::host
