// SPDX-License-Identifier: MIT

// What can be irregular in an AIFF file: what it means for those who use the file, and what
// mends it.
#pragma once

#include <string>

namespace aiff::host
{

enum class IrregularityKind {
    MoreThanListed,
    IncompleteTransfer,
    UnknownFormType,
    FormInLowerCase,
    OddFormSize,
    CutOff,
    NeverFinished,
    AfterForm,
    MissingPad,
    NoChunk,
    StrayBytes,
    ChunkTooLarge,
    NoLastPad,
    PadNotZero,
    SeveralTags,
    EmptyTagChunk,
    MisfitTag,
    RefusedFrame,
    UnreadableTag,
    LowerCaseSound,
    UnusableCommon,
    ShortSoundChunk,
    SampleOffset,
    NoCommon,
    SeveralCommons,
    SeveralSounds,
    NoVersion,
    ImpossibleFormat,
    ImpossibleRate,
    NoCompressionName,
    UnknownCompression,
    NoSound,
    PartOfFrame,
    FramesDiffer,
};

// What aiffconv can do about it.
enum class Mending { None, TagEdit, Encode };

struct IrregularityRule {
    IrregularityKind kind;
    const char* name;       // for programs
    const char* meaning;    // for players and editors, a sentence for people
    bool isMendedByTagEdit; // wherever such an edit is possible
    bool isMendedByEncode;  // wherever the file can be encoded
};

const IrregularityRule& RuleOf(IrregularityKind kind);

// What to do, a sentence for people.
const char* Advice(Mending mending);
// The command that does it; null for None.
const char* CommandOf(Mending mending);

// One that was found.
struct Irregularity {
    IrregularityKind kind;
    std::string text; // about the file, for people: "has 10 bytes after the end of its form"
    Mending mending = Mending::None;
};

} // namespace aiff::host
