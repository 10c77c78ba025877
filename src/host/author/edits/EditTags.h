// SPDX-License-Identifier: MIT

// Edits of ID3v2 tags that go beyond what a list of fields can say.
#pragma once

#include "host/session/FileTags.h"
#include "qvcodec.h"
#include "support/file/FlushFile.h"
#include <string>
#include <vector>

namespace aiff::host
{

// A frame in the form of the revision that its tag has.
struct NewFrame {
    std::string name;
    std::vector<uint8_t> body; // without flags; empty for one that only takes others away
};

// What becomes of the tag of a file that has several, or none.
struct TagEdit {
    int revision = 3;           // of the new tag
    std::vector<TagItem> items; // fields and pictures, as decoders take them; dates may be full
    // In the form of the new tag's revision. They take the place of those that have the same
    // FrameKey.
    std::vector<NewFrame> frames;
};

// The revision that an edit gives the tag of a file: the present one, but of ID3v2.2 and of none,
// unless ID3v2.4 is wanted.
int RevisionAfterEdit(const FileTags& tags, bool wantsV24);

// Carries the edit out. False, with the reason in the report, when that cannot be done; the file is
// then as it was.
[[nodiscard]] bool EditTags(const TagEdit& edit, const std::string& path, Durability durability,
                            const STNStdReport& report);

// Sentences for people about what reads differently of a file's tags once they are ID3v2.4.
std::vector<std::string> ConversionDifferences(const FileTags& tags);

// A frame with texts, of any kind that has them, in the form of a revision. COMM and USLT frames
// get the language "eng".
NewFrame MakeTextFrame(const std::string& name, const std::vector<std::string>& texts,
                       int revision);

} // namespace aiff::host
