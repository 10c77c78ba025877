// What the commands that change tags have in common.
#pragma once

#include "host/commands/Command.h"
#include "host/session/TagFile.h"

#include <functional>
#include <string>
#include <vector>

namespace aiff::host
{

// Reads the tags of each file in turn and does `work` with them. A failure is shown and
// does not keep the other files from being worked on.
ExitCode ForEachTagFile(const std::vector<std::string>& names, const codecs::CodecLoader& loader,
                        const Trace& trace, const std::function<Problem(TagFile&)>& work);

// Writes `items` to each file and says which fields then read back differently: some
// values are stored in another form.
//
// summary  what was done to a file, such as "set Title"
ExitCode WriteToEach(const std::vector<std::string>& names, const std::vector<TagItem>& items,
                     const std::string& summary, const codecs::CodecLoader& loader,
                     const Trace& trace);

// Prints a line on standard output: the file's name and what was done to it.
void SayDone(const TagFile& file, const std::string& what);

// "Title, Artist"
std::string Joined(const std::vector<std::string>& words);

// Whether a name only informs about a tag, as "TagVersion" does, and so can be neither set
// nor removed; says that it is skipped.
bool SkipInformation(const std::string& name);

} // namespace aiff::host
