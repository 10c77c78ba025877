// SPDX-License-Identifier: MIT
#include "host/commands/CommandGroup.h"

namespace aiff::host
{
namespace
{

constexpr char kExamples[] = R"(Examples:
  aiffconv tags show song.aiff
  aiffconv tags set *.aiff "Album=The Album" Year=1971
  aiffconv tags set song.aiff "Artist=One" "Artist=Another" Comment=
  aiffconv tags remove song.aiff Comment "Encoded by"
  aiffconv tags show --json --data *.aiff > tags.json
  aiffconv tags set *.aiff --from-json tags.json
  aiffconv tags clear *.aiff
  aiffconv tags art set *.aiff cover.jpg
  aiffconv tags art export song.aiff -o pictures/
  aiffconv tags copy from.aiff to.aiff
  aiffconv tags names                      what fields are called)";

} // namespace

std::unique_ptr<Command> MakeTagsCommand()
{
    return std::make_unique<CommandGroup>(
        "tags", "Show and edit tags", kExamples,
        CommandSet::Makers{MakeTagsShowCommand, MakeTagsSetCommand, MakeTagsRemoveCommand,
                           MakeTagsClearCommand, MakeTagsArtCommand, MakeTagsCopyCommand,
                           MakeTagsNamesCommand});
}

} // namespace aiff::host
