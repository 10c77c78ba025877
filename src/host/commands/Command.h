// SPDX-License-Identifier: MIT

// The subcommands of the program. Each is defined in a source ...Command.cpp, which needs no
// header besides its Make function here.
#pragma once

#include "codecs/CodecLoader.h"
#include "host/base/ExitCode.h"
#include "host/base/Problem.h"
#include "host/base/Trace.h"
#include "host/commands/CommandLine.h"

#include <memory>

namespace aiff::host
{

// Options that apply to the program as a whole.
struct GlobalOptions {
    Trace trace;
};

// One subcommand. A new one is a class in a source of its own, a Make function below, and
// an entry in main() or in its group.
class Command
{
public:
    virtual ~Command() = default;

    // Adds the subcommand, its options and its help. The options are stored in this
    // object, which must outlive the parsing.
    virtual CommandLine AddTo(CommandLine program) = 0;
    // Carries it out after parsing.
    virtual ExitCode Run(const GlobalOptions& global) = 0;
};

// A command that works with the decoders. They are loaded before its work begins; when
// there are none, the command ends with kExitNoDecoder.
class DecoderCommand : public Command
{
public:
    ExitCode Run(const GlobalOptions& global) final;

private:
    virtual ExitCode Work(const codecs::CodecLoader& loader, const Trace& trace) = 0;
};

// Adds -q, --quiet.
void AddQuietOption(CommandLine command, bool& quiet);

// Adds --plugin-only: what decoders refuse is not decoded otherwise.
void AddPluginOnlyOption(CommandLine command, bool& pluginOnly);

// Shows why a command ends here; returns `code`.
ExitCode FailWith(ExitCode code, const Problem& problem);

std::unique_ptr<Command> MakeCheckCommand();
std::unique_ptr<Command> MakeCodecsCommand();
std::unique_ptr<Command> MakeCompletionCommand();
std::unique_ptr<Command> MakeConvertCommand();
std::unique_ptr<Command> MakeEncodeCommand();
std::unique_ptr<Command> MakeInfoCommand();
std::unique_ptr<Command> MakeMd5Command();
std::unique_ptr<Command> MakeTagsCommand();
std::unique_ptr<Command> MakeTagsShowCommand();
std::unique_ptr<Command> MakeTagsSetCommand();
std::unique_ptr<Command> MakeTagsRemoveCommand();
std::unique_ptr<Command> MakeTagsClearCommand();
std::unique_ptr<Command> MakeTagsArtCommand();
std::unique_ptr<Command> MakeTagsCopyCommand();
std::unique_ptr<Command> MakeTagsNamesCommand();

} // namespace aiff::host
