// SPDX-License-Identifier: MIT
#include "host/author/check/Irregularities.h"

#include <iterator>

namespace aiff::host
{
namespace
{

using enum IrregularityKind;

// In the order of the kinds.
constexpr IrregularityRule kRules[] = {
    {MoreThanListed, "more", "The file is badly damaged.", false, false},
    {IncompleteTransfer, "incomplete-transfer",
     "What came is shorter than the original; fetch it again.", false, false},
    {UnknownFormType, "unknown-form-type", "Most programs do not take it for AIFF.", false, false},
    {FormInLowerCase, "form-in-lower-case", "Many programs do not take it for AIFF.", false, true},
    {OddFormSize, "odd-form-size", "Strict readers refuse the file, or lose its last chunk.", true,
     true},
    {CutOff, "cut-off", "Its end is lost: players stop early or refuse it, and some editors too.",
     false, true},
    {NeverFinished, "never-finished",
     "The program that wrote it was stopped: many players show no sound.", true, false},
    {AfterForm, "after-form",
     "Players ignore what is there; few programs see tags in it, and editors may cut it off, as "
     "'tags set --force' does.",
     true, true},
    {MissingPad, "missing-pad",
     "Readers that follow the sizes lose what comes after it; editors may destroy that.", false,
     true},
    {NoChunk, "no-chunk", "What comes from there on is lost to all programs.", false, true},
    {StrayBytes, "stray-bytes", "Players ignore them; strict editors refuse the file.", false,
     true},
    {ChunkTooLarge, "chunk-too-large",
     "The chunk is cut off or its size is wrong: programs ignore it, shorten it or refuse the "
     "file.",
     false, true},
    {NoLastPad, "no-last-pad",
     "Players do not mind; an editor that appends a chunk may put it out of place.", true, true},
    {PadNotZero, "pad-not-zero", "No program minds, but strict checkers.", false, true},
    {SeveralTags, "several-tags",
     "Players show one of them, others another; an editor may change the one that is not shown.",
     true, false},
    {EmptyTagChunk, "empty-tag-chunk", "Players show no tags; a few take the file for damaged.",
     true, false},
    {MisfitTag, "misfit-tag", "Players show no tags; a few take the file for damaged.", true,
     false},
    {RefusedFrame, "refused-frame", "Some players show no tags, others all but this.", true, false},
    {UnreadableTag, "unreadable-tag",
     "Players show no tags; 'aiffconv tags clear FILE' removes what is there.", false, false},
    {LowerCaseSound, "lower-case-chunk",
     "Players overlook it; those that do not may play it twice.", false, true},
    {UnusableCommon, "unusable-format", "No program can tell the sound's format.", false, false},
    {ShortSoundChunk, "short-sound-chunk", "It holds no sound that can be played.", false, false},
    {SampleOffset, "sample-offset",
     "Programs that ignore the offset play a click at the start, or noise.", false, false},
    {NoCommon, "no-format", "No program can tell the sound's format.", false, false},
    {SeveralCommons, "several-formats",
     "Programs may take the format from different ones, and play noise.", false, true},
    {SeveralSounds, "several-sounds", "Programs play one of them; which one differs.", false, true},
    {NoVersion, "no-version", "Strict readers of AIFF-C refuse it; players do not mind.", false,
     true},
    {ImpossibleFormat, "impossible-format", "No program can play it.", false, false},
    {ImpossibleRate, "impossible-rate", "Programs refuse it or play it at a wrong speed.", false,
     false},
    {NoCompressionName, "no-compression", "Programs guess how the samples are stored.", false,
     true},
    {UnknownCompression, "unknown-compression", "Few programs can play it, if any.", false, false},
    {NoSound, "no-sound", "There is nothing to play.", false, false},
    {PartOfFrame, "part-of-frame",
     "Players drop these bytes; some editors refuse the file or shift the channels.", false, true},
    {FramesDiffer, "frames-differ",
     "Players differ in where it ends; some stop early, some play noise at the end.", false, true},
};

constexpr bool IsInOrder()
{
    for (size_t i = 0; i < std::size(kRules); ++i)
        if (kRules[i].kind != static_cast<IrregularityKind>(i))
            return false;
    return kRules[std::size(kRules) - 1].kind == FramesDiffer;
}
static_assert(IsInOrder());

} // namespace

const IrregularityRule& RuleOf(IrregularityKind kind)
{
    return kRules[static_cast<size_t>(kind)];
}

const char* Advice(Mending mending)
{
    switch (mending) {
    case Mending::TagEdit:
        return "Any change of its tags mends that, such as 'aiffconv tags set FILE Title=...'.";
    case Mending::Encode:
        return "'aiffconv encode' makes a right file of what can be read of it.";
    case Mending::None:
        break;
    }
    return "Nothing that aiffconv does to the file mends that.";
}

const char* CommandOf(Mending mending)
{
    return mending == Mending::TagEdit  ? "tags set"
           : mending == Mending::Encode ? "encode"
                                        : nullptr;
}

} // namespace aiff::host
