// SPDX-License-Identifier: MIT
#include "host/author/FileEncoding.h"
#include "host/author/SoundFile.h"
#include "host/commands/BatchArguments.h"
#include "host/commands/Command.h"
#include "host/commands/FetchArguments.h"
#include "host/commands/OutputName.h"

#include <functional>
#include <memory>

namespace aiff::host
{
namespace
{

constexpr char kOutputExtension[] = ".aiff";

constexpr char kExamples[] = R"(Examples:
  aiffconv encode song.wav -o song.aiff
  aiffconv encode *.flac -o aiff/              several files to a folder
  aiffconv encode library -o aiff/             a folder, with those in it
  aiffconv encode song.aifc -o song.aiff       little-endian AIFF-C to plain AIFF
  aiffconv encode *.wav -o aiff/ --skip-existing --json > results.jsonl

Reads AIFF, WAV, FLAC and anything else libsndfile reads with integer samples of 8,
16, 24 or 32 bits. Tags and pictures are copied, and every other chunk of an AIFF file.)";

class EncodeCommand : public Command
{
public:
    CommandLine AddTo(CommandLine program) override;
    ExitCode Run(const GlobalOptions& global) override;

private:
    std::vector<std::string> m_inputs;
    Fetch m_fetch = Fetch::WhenNeeded;
    BatchOptions m_batch;
};

CommandLine EncodeCommand::AddTo(CommandLine program)
{
    const CommandLine command =
        program.AddCommand("encode", "Convert other formats to AIFF, bit for bit");
    command.AddOption("IN", m_inputs, kInputs).Required().Files(kSoundEndings);
    command.AddOption("-o,--output", m_batch.output, "File or folder to write to")
        .Required()
        .Files(kAiffEndings);
    AddFetchOptions(command, m_fetch);
    AddBatchOptions(command, m_batch);
    command.Footer(kExamples);
    return command;
}

ExitCode EncodeCommand::Run(const GlobalOptions& global)
{
    if (m_batch.output == "-")
        return FailWith(kExitUsage, "AIFF cannot be written to standard output: its beginning is "
                                    "completed last");
    const Result<OutputPlan> plan =
        PlanOutputs(FindInputs(m_inputs, kSoundEndings, m_batch.output), m_batch.output,
                    kOutputExtension, std::bind_front(IsOneOf, kSoundEndings));
    if (!plan)
        return FailWith(kExitUsage, plan.Why());
    const bool isNamed = plan->items.front().output == m_batch.output;
    if (Problem problem =
            isNamed ? OutputNameProblem(m_batch.output, "AIFF", FormatChoice::ByName) : Problem())
        return FailWith(kExitUsage, problem);
    const auto makeWork = [&](const ProgressFunction& progress) {
        return MakeEncodingWork(global.trace, {m_fetch, m_batch.verify}, progress);
    };
    return RunBatch(*plan, m_batch, global.trace, {"encoded", makeWork, SoundFileDamage});
}

} // namespace

std::unique_ptr<Command> MakeEncodeCommand()
{
    return std::make_unique<EncodeCommand>();
}

} // namespace aiff::host
