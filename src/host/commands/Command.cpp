#include "host/commands/Command.h"

#include "host/base/ExitCode.h"

namespace host
{
namespace
{

// False, after telling the user why, when none is usable.
bool LoadDecoders(codecs::CodecLoader& loader)
{
    loader.Load();
    if (!loader.Decoders().empty())
        return true;
    if (loader.Root().empty()) {
        std::string searched;
        for (const std::string& root : loader.SearchedRoots())
            searched += (searched.empty() ? "" : ", ") + root;
        SayProblem("no folder Codecs/Bin with decoder plug-ins in: " + searched + " (set " +
                   codecs::kCodecPathVariable + " to the folder that holds it)");
        return false;
    }
    SayProblem("no usable decoder plug-in in " + loader.Root() + "/Codecs/Bin/decoder");
    for (const codecs::PluginFile& file : loader.Files()) {
        if (!file.problem.empty())
            SayProblem(file.path + ": " + file.problem);
    }
    return false;
}

} // namespace

int DecoderCommand::Run(const GlobalOptions& global)
{
    codecs::CodecLoader loader;
    return LoadDecoders(loader) ? Work(loader, global.trace) : kExitNoDecoder;
}

} // namespace host
