// SPDX-License-Identifier: MIT
#include "host/commands/Command.h"

namespace aiff::host
{
namespace
{

// Shows everything that keeps the plug-ins from being used.
void SayWhyNoDecoder(const codecs::CodecLoader& loader)
{
    if (loader.Root().empty()) {
        std::string searched;
        for (const std::string& root : loader.SearchedRoots())
            searched += (searched.empty() ? "" : ", ") + root;
        SayProblem("no folder Codecs/Bin with decoder plug-ins in: " + searched + " (set " +
                   codecs::kCodecPathVariable + " to the folder that holds it)");
        return;
    }
    SayProblem("no usable decoder plug-in in " + loader.Root() + "/Codecs/Bin/decoder");
    for (const codecs::PluginFile& file : loader.Files()) {
        if (!file.problem.empty())
            SayProblem(file.path + ": " + file.problem);
    }
}

} // namespace

ExitCode DecoderCommand::Run(const GlobalOptions& global)
{
    codecs::CodecLoader loader;
    loader.Load();
    if (!loader.Decoders().empty())
        return Work(loader, global.trace);
    SayWhyNoDecoder(loader);
    return kExitNoDecoder;
}

void AddQuietOption(CommandLine command, bool& quiet)
{
    command.AddFlag("-q,--quiet", quiet, "Show problems only");
}

void AddPluginOnlyOption(CommandLine command, bool& pluginOnly)
{
    command.AddFlag("--plugin-only", pluginOnly,
                    "Refuse what decoder plug-ins refuse, such as floating-point AIFF-C");
}

ExitCode FailWith(ExitCode code, const Problem& problem)
{
    SayProblem(problem);
    return code;
}

} // namespace aiff::host
