#include "host/author/FileEncoding.h"
#include "host/base/ExitCode.h"
#include "host/batch/Batch.h"
#include "host/commands/Command.h"
#include "support/text/Ascii.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <memory>

namespace host
{
namespace
{

constexpr char kOutputExtension[] = ".aiff";

// Extensions of inputs, which the new one replaces.
constexpr std::array kInputExtensions = {".aif", ".aifc", ".aiff", ".au",   ".bwf",
                                         ".caf", ".flac", ".oga",  ".rf64", ".snd",
                                         ".voc", ".w64",  ".wav",  ".wave", ".wavex"};

constexpr char kExamples[] = R"(Examples:
  aiffconv encode song.wav -o song.aiff
  aiffconv encode *.flac -o aiff/              several files into a folder
  aiffconv encode song.aifc -o song.aiff       little-endian AIFF-C to plain AIFF
  aiffconv encode *.wav -o aiff/ --skip-existing --json > results.jsonl

Reads AIFF, WAV, FLAC and whatever else libsndfile reads with integer samples of 8,
16, 24 or 32 bits. Tags and pictures come along; of an AIFF file all other chunks do.)";

bool IsInputExtension(const std::string& extension)
{
    return std::ranges::any_of(kInputExtensions,
                               [&](const char* known) { return EqualNoCase(known, extension); });
}

class EncodeCommand : public Command
{
public:
    CLI::App* AddTo(CLI::App& program) override;
    int Run(const GlobalOptions& global) override;

private:
    std::vector<std::string> m_inputs;
    BatchOptions m_batch;
};

CLI::App* EncodeCommand::AddTo(CLI::App& program)
{
    CLI::App* command = program.add_subcommand("encode", "Make AIFF files, bit for bit");
    command->add_option("IN", m_inputs, "Files to encode")->required();
    command->add_option("-o,--output", m_batch.output, "File or folder to write")->required();
    AddBatchOptions(*command, m_batch);
    command->footer(kExamples);
    return command;
}

int EncodeCommand::Run(const GlobalOptions& global)
{
    if (m_batch.output == "-") {
        SayProblem("AIFF cannot be written to standard output: its beginning is completed last");
        return kExitUsage;
    }
    OutputPlan plan;
    std::string problem;
    if (!PlanOutputs(m_inputs, m_batch.output, kOutputExtension, IsInputExtension, plan, problem)) {
        SayProblem(problem);
        return kExitUsage;
    }
    return RunBatch(plan, m_batch, global.trace, "encoded", [&](ProgressFunction progress) {
        auto report = std::make_shared<ReportCapture>(global.trace);
        auto encoding = std::make_shared<FileEncoding>(*report, m_batch.overwrite, progress);
        return [report, encoding](const OutputPlan::Item& item) { return encoding->Run(item); };
    });
}

} // namespace

std::unique_ptr<Command> MakeEncodeCommand()
{
    return std::make_unique<EncodeCommand>();
}

} // namespace host
