#pragma once

#include "codecs/CodecLoader.h"
#include "host/base/Problem.h"
#include "host/base/Trace.h"

#include <CLI/App.hpp>
#include <memory>

namespace host
{

// What the user asked of the program as a whole.
struct GlobalOptions {
    Trace trace;
};

// One subcommand of the program. A new one is a class of its own and a line in
// main().
class Command
{
public:
    virtual ~Command() = default;

    // Adds the subcommand, its options (stored in this object, which outlives the
    // parsing) and its help.
    virtual CLI::App* AddTo(CLI::App& program) = 0;
    // Carries it out after parsing; returns the exit code.
    virtual int Run(const GlobalOptions& global) = 0;
};

// A command that works with the decoders: they are loaded before its work begins, and
// the exit code tells when there are none.
class DecoderCommand : public Command
{
public:
    int Run(const GlobalOptions& global) final;

private:
    virtual int Work(const codecs::CodecLoader& loader, const Trace& trace) = 0;
};

std::unique_ptr<Command> MakeCheckCommand();
std::unique_ptr<Command> MakeConvertCommand();
std::unique_ptr<Command> MakeEncodeCommand();
std::unique_ptr<Command> MakeInfoCommand();
std::unique_ptr<Command> MakeCodecsCommand();
std::unique_ptr<Command> MakeTagsCommand();

} // namespace host
