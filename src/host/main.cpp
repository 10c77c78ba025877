// aiffconv: drives decoder plug-ins from the shell. Here is the command line only;
// what the subcommands do stands in a file for each.

#include "host/base/ExitCode.h"
#include "host/batch/Interruption.h"
#include "host/commands/Command.h"

#include <CLI/CLI.hpp>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <fcntl.h>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

namespace
{

constexpr char kHelp[] = R"(Examples:
  aiffconv convert song.aiff -o song.wav       one file
  aiffconv convert song.aiff -o song.flac      FLAC, told by the name
  aiffconv convert *.aiff -o wav/              many files into a folder
  aiffconv convert song.aiff -o - | aplay      to another program
  aiffconv encode song.flac -o song.aiff       WAV, FLAC and others to AIFF
  aiffconv check *.aiff                        what is irregular about files
  aiffconv info song.aiff                      format, length and tags
  aiffconv tags set *.aiff "Album=The Album"   change tags (see tags --help)
  aiffconv codecs                              which decoders were found
  aiffconv convert --help                      all options of a command

Exit codes:
  0    everything was done
  1    at least one input failed, or its output existed already
  2    the command line makes no sense; nothing was done
  3    no usable decoder plug-in was found
  4    everything was done, but some input was damaged: the output holds what
       could be read of it; or "check" found something irregular
  130  interrupted; unfinished outputs were removed)";

// A file opened while one of the first three descriptors is closed would take its
// place and receive what is meant for the terminal. Opened for reading only, so that
// writing to a closed output fails as it should.
void KeepStandardDescriptors()
{
    int descriptor = 0;
    while (descriptor >= 0 && descriptor <= 2)
        descriptor = open("/dev/null", O_RDONLY | O_CLOEXEC);
    close(descriptor);
}

// The parser would take "[a,b]" apart as a list; as a path it is left alone.
std::vector<std::string> Arguments(int argc, char** argv)
{
    std::vector<std::string> arguments;
    for (int i = argc; i-- > 1;) { // the parser takes them from the back
        const std::string argument = argv[i];
        const bool isList = argument.starts_with('[') && argument.ends_with(']');
        arguments.push_back(isList ? "./" + argument : argument);
    }
    return arguments;
}

// The exit code of a command, unless what it printed could not be written.
int WithOutputWritten(int exitCode)
{
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0)
        return exitCode;
    host::SayProblem(std::string("standard output: ") + std::strerror(errno));
    return host::kExitSomeFailed;
}

int Run(int argc, char** argv)
{
    CLI::App program(
        "Converts AIFF and AIFF-C files to WAV and FLAC through decoder plug-ins, and others to "
        "AIFF; shows and changes tags.",
        "aiffconv");
    program.set_version_flag("--version", "aiffconv " AIFFCONV_VERSION);
    program.footer(kHelp);
    program.fallthrough();
    program.require_subcommand(1);
    std::string traceText;
    program.add_option("--trace", traceText,
                       "Show the decoders' report: error, info or debug; with =FILE behind it "
                       "write it there");

    std::vector<std::pair<CLI::App*, std::unique_ptr<host::Command>>> commands;
    for (const auto make :
         {host::MakeConvertCommand, host::MakeEncodeCommand, host::MakeInfoCommand,
          host::MakeTagsCommand, host::MakeCheckCommand, host::MakeCodecsCommand}) {
        std::unique_ptr<host::Command> command = make();
        CLI::App* entry = command->AddTo(program);
        commands.emplace_back(entry, std::move(command));
    }
    try {
        program.parse(Arguments(argc, argv));
    } catch (const CLI::ParseError& error) {
        return program.exit(error) == 0 ? host::kExitDone : host::kExitUsage;
    }

    host::GlobalOptions global;
    std::string problem;
    if (!traceText.empty() && !host::ParseTrace(traceText, global.trace, problem)) {
        host::SayProblem(problem);
        return host::kExitUsage;
    }
    for (const auto& [entry, command] : commands) {
        if (entry->parsed())
            return WithOutputWritten(command->Run(global));
    }
    return host::kExitUsage;
}

} // namespace

int main(int argc, char** argv)
{
    KeepStandardDescriptors();
    std::signal(SIGPIPE, SIG_IGN); // a reader that has gone shows as a failed write
    host::Interruption::Watch();
    try {
        return Run(argc, argv);
    } catch (const std::exception& error) {
        host::SayProblem(std::string("failed: ") + error.what());
        return host::kExitSomeFailed;
    }
}
