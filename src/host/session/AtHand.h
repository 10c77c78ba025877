// SPDX-License-Identifier: MIT

// Bringing an input within reach of the decoders.
#pragma once

#include "codecs/CodecLoader.h"
#include "host/fetch/LocalCopy.h"
#include "host/session/ReportCapture.h"

#include <string>

namespace aiff::host
{

enum class Fetch {
    WhenNeeded, // what decoders cannot read from where it is
    Always,     // every URL
    Never       // no URL; standard input is copied all the same
};

// What of an input is asked for: its description tells whether all of the sound is there, too.
enum class Wanted { Sound, SoundAndTags, Description };

struct InputAtHand {
    Input input;
    // Why the end of its content is missing, if it is.
    Problem incomplete = {};
    // For people: that it was fetched, and why. Mostly empty.
    std::string fetched = {};
    // For people: what is not read of it. Mostly empty.
    std::string leftOut = {};
};

// Shows what there is to say of an input: with `isQuiet`, only what is left out.
void SayHowItCame(const InputAtHand& input, const std::string& name, bool isQuiet);

// The input as it is, when decoders can read there all that is wanted; otherwise with a local
// copy, as far as `fetch` allows. An http:// stream is opened once to find out; a stream ends
// with its sound, so one with more after that is fetched for its tags. Where only its end shows
// that a stream is whole, it is read for its description.
Result<InputAtHand> BringToHand(const codecs::CodecLoader& loader, ReportCapture& report,
                                const Input& input, Wanted wanted, Fetch fetch,
                                const ReceivedFunction& received);

// The same for what must be in a file: every URL is fetched, unless `fetch` is Never.
Result<InputAtHand> BringFileToHand(const Input& input, Fetch fetch,
                                    const ReceivedFunction& received);

} // namespace aiff::host
