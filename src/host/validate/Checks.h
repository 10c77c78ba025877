// SPDX-License-Identifier: MIT

// The checks of a decoder plug-in: what a host relies on, as a table.
#pragma once

#include <span>

namespace aiff::host::validate
{

class Bench;

// What a check needs before it can be made.
enum class Needs {
    File,      // the path of the plug-in
    Functions, // the plug-in, loaded
    Samples    // and a file that it decodes
};

struct Check {
    const char* name;    // for the command line: lower case, with hyphens
    const char* promise; // what a host relies on, one sentence
    Needs needs;
    void (*run)(Bench& bench);
};

// In the order in which they are made: the first must pass for the others to make sense.
std::span<const Check> AllChecks();

// The checks, by subject. Each notes what it finds in the bench's findings.

// Loading, creating and asking: IdentityChecks.cpp.
void CheckLoading(Bench& bench);
void CheckUnloading(Bench& bench);
void CheckNullHandles(Bench& bench);
void CheckCreating(Bench& bench);
void CheckLists(Bench& bench);
void CheckDescription(Bench& bench);
void CheckUnknownKeys(Bench& bench);
void CheckAnswers(Bench& bench);
void CheckValues(Bench& bench);

// Opening: OpenChecks.cpp.
void CheckMissingFiles(Bench& bench);
void CheckExternalPackets(Bench& bench);
void CheckClosing(Bench& bench);
void CheckGarbage(Bench& bench);
void CheckOpening(Bench& bench);
void CheckFlags(Bench& bench);
void CheckFormat(Bench& bench);
void CheckFileNames(Bench& bench);
void CheckDamagedFiles(Bench& bench);
void CheckInputsUnchanged(Bench& bench);

// Decoding: BlockChecks.cpp.
void CheckSamples(Bench& bench);
void CheckBlocks(Bench& bench);
void CheckBlockRecord(Bench& bench);
void CheckLastBlock(Bench& bench);
void CheckBlockLifetime(Bench& bench);

// Positions: SeekChecks.cpp.
void CheckSeeking(Bench& bench);
void CheckSeekingPastEnd(Bench& bench);
void CheckRanges(Bench& bench);
void CheckRangeAtOpen(Bench& bench);

// Instances: InstanceChecks.cpp.
void CheckHostMemory(Bench& bench);
void CheckReopening(Bench& bench);
void CheckInterleaving(Bench& bench);
void CheckThreads(Bench& bench);

// The process: ProcessChecks.cpp.
void CheckDescriptors(Bench& bench);
void CheckMemory(Bench& bench);
void CheckSilence(Bench& bench);
void CheckReport(Bench& bench);
void CheckProcessState(Bench& bench);

// Tags: TagChecks.cpp.
void CheckTagsRepeat(Bench& bench);
void CheckTagWriting(Bench& bench);
void CheckTagDeleting(Bench& bench);
void CheckTagRefusals(Bench& bench);

} // namespace aiff::host::validate
