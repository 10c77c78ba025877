// SPDX-License-Identifier: MIT

// The program aiffconv, which drives decoder plug-ins from the shell: its command line as
// a whole. Each subcommand has a source of its own in commands/.

#include "host/base/ExitCode.h"
#include "host/base/Problem.h"
#include "host/base/TerminalFilter.h"
#include "host/base/Trace.h"
#include "host/batch/Interruption.h"
#include "host/commands/CommandGroup.h"
#include "host/commands/Completion.h"

#include <clocale>
#include <csignal>
#include <cstdio>
#include <exception>
#include <fcntl.h>
#include <string>
#include <string_view>
#include <unistd.h>
#include <vector>

using namespace aiff;

namespace
{

constexpr char kHelp[] = R"(Examples:
  aiffconv convert song.aiff -o song.wav       one file
  aiffconv convert song.aiff -o song.flac      FLAC, chosen by the file name
  aiffconv convert *.aiff -o wav/              many files to a folder
  aiffconv convert library -o wav/             a folder, with those in it
  aiffconv convert song.aiff -o - | aplay      to another program
  aiffconv encode song.flac -o song.aiff       WAV, FLAC and others to AIFF
  aiffconv check *.aiff                        find irregularities in files
  aiffconv md5 library >sums                   checksums of the sound
  aiffconv info song.aiff                      format, length and tags
  aiffconv tags set *.aiff "Album=The Album"   edit tags (see tags --help)
  aiffconv codecs                              which decoders were found
  aiffconv completion bash                     completion for a shell (bash, zsh, fish)
  aiffconv convert --help                      all options of a command

Exit codes:
  0    everything was done
  1    at least one input failed, or its output already existed
  2    the command line is invalid; nothing was done
  3    no usable decoder plug-in was found
  4    everything was done, but an input was damaged: its output holds what
       could be read, or it has no checksum; or "check" found irregularities
  130  interrupted; unfinished outputs were removed)";

// Before the words of a command line, of which the last is to be completed; for the scripts in
// completions/.
constexpr char kComplete[] = "--complete";

// A file opened while one of the first three descriptors is closed would take its number
// and receive what is meant for the terminal. The stand-ins are read-only, so that writing
// to a closed output fails as it should.
void KeepStandardDescriptors()
{
    int descriptor = 0;
    while (descriptor >= 0 && descriptor <= 2)
        descriptor = open("/dev/null", O_RDONLY | O_CLOEXEC);
    close(descriptor);
}

// The exit code of a command, unless its output could not be written.
int WithOutputWritten(host::ExitCode code)
{
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0)
        return code;
    return host::FailWith(host::kExitSomeFailed,
                          host::Problem::FromErrno().About("standard output"));
}

int ShowText(const std::string& text)
{
    std::fwrite(text.data(), 1, text.size(), stdout);
    return WithOutputWritten(host::kExitDone);
}

// Shows the help that was asked for, or what is wrong with the command line.
int EndParsing(const host::Program::Outcome& outcome)
{
    if (outcome.kind == host::Program::Outcome::Kind::Refuse)
        return host::FailWith(host::kExitUsage, outcome.text);
    return ShowText(outcome.text);
}

int Run(int argc, char** argv)
{
    host::Program program(
        "aiffconv",
        "Converts AIFF and AIFF-C files to WAV and FLAC through decoder plug-ins, and other "
        "formats to AIFF; shows and edits tags.",
        "aiffconv " AIFFCONV_VERSION);
    const host::CommandLine line = program.Line();
    line.Footer(kHelp);
    std::string traceText;
    line.AddOption("--trace", traceText,
                   "Show what the decoders report: error, info or debug; add =FILE to write "
                   "it to a file")
        .Suggest([] {
            return std::vector<std::string>{"error", "info", "debug", "error=", "info=", "debug="};
        });
    host::CommandSet commands;
    commands.AddTo(line, {host::MakeConvertCommand, host::MakeEncodeCommand, host::MakeInfoCommand,
                          host::MakeTagsCommand, host::MakeCheckCommand, host::MakeMd5Command,
                          host::MakeCodecsCommand, host::MakeCompletionCommand});
    if (argc > 1 && argv[1] == std::string_view(kComplete)) {
        const std::vector<std::string> words(argv + 2, argv + argc);
        return ShowText(host::CandidateLines(host::Complete(program.Summary(), words)));
    }
    const host::Program::Outcome outcome = program.Parse(argc, argv);
    if (outcome.kind != host::Program::Outcome::Kind::Run)
        return EndParsing(outcome);

    host::GlobalOptions global;
    if (!traceText.empty()) {
        const host::Result<host::Trace> trace =
            host::ParseTrace(traceText, {argv + 1, argv + argc});
        if (!trace)
            return host::FailWith(host::kExitUsage, trace.Why());
        global.trace = *trace;
        global.trace.onTerminal = isatty(trace->descriptor) != 0;
        if (global.trace.onTerminal)
            global.trace.descriptor = host::PrintableTerminal(trace->descriptor);
    }
    const host::ExitCode code = commands.Run(global);
    if (const host::Problem problem = host::EndTrace(global.trace))
        return WithOutputWritten(host::FailWith(host::kExitSomeFailed, problem));
    return WithOutputWritten(code);
}

} // namespace

int main(int argc, char** argv)
{
    KeepStandardDescriptors();
    std::setlocale(LC_CTYPE, "");  // how wide characters are on the terminal
    std::signal(SIGPIPE, SIG_IGN); // a reader that has gone away makes a write fail
    std::signal(SIGXFSZ, SIG_IGN); // and so does a file that may not grow further
    host::Interruption::Watch();
    try {
        return Run(argc, argv);
    } catch (const std::exception& error) {
        return host::FailWith(host::kExitSomeFailed, host::Problem(error.what()).About("failed"));
    }
}
