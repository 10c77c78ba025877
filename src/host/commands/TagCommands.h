#pragma once

#include "host/commands/Command.h"
#include "host/session/TagFile.h"

#include <functional>
#include <string>
#include <vector>

namespace host
{

// The commands below "tags", and below "tags art".
std::unique_ptr<Command> MakeTagsShowCommand();
std::unique_ptr<Command> MakeTagsSetCommand();
std::unique_ptr<Command> MakeTagsRemoveCommand();
std::unique_ptr<Command> MakeTagsClearCommand();
std::unique_ptr<Command> MakeTagsCopyCommand();
std::unique_ptr<Command> MakeTagsArtCommand();

// Reads the tags of one file after the other and does `work` with each; one that fails
// does not keep the others from it. Problems are told on standard error.
//
// work  returns false when it failed, with the reason in `file` or in `problem`
// returns the exit code
int ForEachTagFile(const std::vector<std::string>& names, const codecs::CodecLoader& loader,
                   ReportCapture& report,
                   const std::function<bool(TagFile& file, std::string& problem)>& work);

// One line on standard output: the file's name and what was done with it.
void SayDone(const TagFile& file, const std::string& what);

// Reads the file anew and tells of fields that are not there as `items` has them: some
// values are put into another form when they are written.
void SayWhatDiffers(const TagFile& file, const std::vector<TagItem>& items,
                    const codecs::CodecLoader& loader);

} // namespace host
