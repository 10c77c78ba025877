// SPDX-License-Identifier: MIT
#include "host/author/tags/ReadFileTags.h"
#include "host/base/Json.h"
#include "host/base/Printable.h"
#include "host/batch/FindInputs.h"
#include "host/commands/Command.h"
#include "host/commands/FetchArguments.h"
#include "host/commands/TimePoint.h"
#include "host/session/DecoderSession.h"
#include "host/session/Reason.h"
#include "host/session/TagText.h"
#include "support/text/XStr.h"

#include <algorithm>
#include <cstdio>

namespace aiff::host
{
namespace
{

constexpr char kExamples[] = R"(Examples:
  aiffconv info song.aiff
  aiffconv info *.aiff --json | jq '.[].format')";

int64_t Frames(const STQvAudioInfo& info)
{
    const int64_t align = info.WaveFormat.nBlockAlign;
    return info.nLengthBytes / std::max<int64_t>(align, 1);
}

void PrintLine(const std::string& label, const std::string& value)
{
    std::printf("  %-18s %s\n", Printable(label).c_str(), Printable(value).c_str());
}

std::string FormatText(const STQvAudioInfo& info)
{
    const STQvWaveFormat format = info.WaveFormat;
    std::string text = std::to_string(format.nSamplesPerSec) + " Hz, " +
                       std::to_string(format.nBitsPerSample) + " bit, " +
                       Counted(format.nChannels, "channel");
    return format.nFormatTag == QV_FORMAT_PCM ? text : text + ", not plain PCM";
}

std::string LengthText(const DecoderSession& session)
{
    if (session.HasUnknownLength())
        return "unknown";
    const STQvAudioInfo& info = session.AudioInfo();
    const int64_t length = info.nLengthMS;
    const int64_t bytes = info.nLengthBytes;
    return FormatDuration(length) + " (" + Counted(Frames(info), "frame") + ", " +
           Counted(bytes, "byte") + ")";
}

// Null when the length is unknown.
Json LengthJson(const DecoderSession& session)
{
    if (session.HasUnknownLength())
        return nullptr;
    const STQvAudioInfo& info = session.AudioInfo();
    return {{"milliseconds", int64_t{info.nLengthMS}},
            {"frames", Frames(info)},
            {"bytes", int64_t{info.nLengthBytes}}};
}

void PrintInfo(const DecoderSession& session, const std::vector<TagItem>& tags,
               const Problem& warning)
{
    const STQvAudioInfo& info = session.AudioInfo();
    std::printf("%s\n", Printable(session.Source().Name()).c_str());
    PrintLine("Format", FormatText(info));
    PrintLine("Length", LengthText(session));
    PrintLine("Bit rate", std::to_string(info.nBitRate / 1000) + " kbit/s");
    PrintLine("Decoder", ToUtf8(session.UsedDecoder().description));
    if (warning)
        PrintLine("Problem", warning.Text());
    for (const TagItem& item : session.Properties())
        PrintLine(item.name, item.value);
    if (!tags.empty())
        std::printf("  Tags\n");
    PrintTags(tags, 4);
}

Json InfoJson(const DecoderSession& session, const std::vector<TagItem>& tags,
              const Problem& warning)
{
    const STQvAudioInfo info = session.AudioInfo();
    const STQvWaveFormat format = info.WaveFormat;
    Json properties = Json::object();
    for (const TagItem& item : session.Properties())
        properties[item.name] = item.value;
    Json entry = {{"file", session.Source().Name()},
                  {"decoder", ToUtf8(session.UsedDecoder().description)},
                  {"format",
                   {{"formatTag", int{format.nFormatTag}},
                    {"sampleRate", uint32_t{format.nSamplesPerSec}},
                    {"channels", int{format.nChannels}},
                    {"bitsPerSample", int{format.nBitsPerSample}},
                    {"bitRate", uint32_t{info.nBitRate}}}},
                  {"length", LengthJson(session)},
                  {"properties", std::move(properties)},
                  {"tags", TagsJson(tags)}};
    if (warning)
        entry["problem"] = warning.Text();
    return entry;
}

class InfoCommand : public DecoderCommand
{
public:
    CommandLine AddTo(CommandLine program) override;

private:
    ExitCode Work(const codecs::CodecLoader& loader, const Trace& trace) override;
    ExitCode Show(const codecs::CodecLoader& loader, ReportCapture& report, const InputName& name,
                  Json& list) const;

    std::vector<std::string> m_inputs;
    Fetch m_fetch = Fetch::WhenNeeded;
    bool m_json = false;
    bool m_quiet = false;
};

CommandLine InfoCommand::AddTo(CommandLine program)
{
    const CommandLine command =
        program.AddCommand("info", "Show format, length, properties and tags");
    command.AddOption("IN", m_inputs, kInputs).Required();
    AddFetchOptions(command, m_fetch);
    command.AddFlag("--json", m_json, "Write a JSON array with one object per input");
    AddQuietOption(command, m_quiet);
    command.Footer(kExamples);
    return command;
}

ExitCode InfoCommand::Work(const codecs::CodecLoader& loader, const Trace& trace)
{
    ReportCapture report(trace);
    Json list = Json::array();
    ExitCode code = kExitDone;
    for (const InputName& name : FindInputs(m_inputs, kAiffEndings))
        code = Worse(code, Show(loader, report, name, list));
    if (m_json)
        PrintJson(list, JsonLayout::Indented);
    return code;
}

ExitCode InfoCommand::Show(const codecs::CodecLoader& loader, ReportCapture& report,
                           const InputName& name, Json& list) const
{
    const Input input(name.name);
    const Result<InputAtHand> source =
        BringToHand(loader, report, input, Wanted::Description, m_fetch, [](int64_t) {});
    DecoderSession session(loader, report);
    Problem problem = name.problem ? name.problem
                      : source     ? source->input.FileProblem()
                                   : source.Why();
    constexpr uint32_t kFlags = QV_OPEN_AUDIO_INFO | QV_OPEN_READ_TAGS | QV_OPEN_PROPERTIES;
    if (!problem && !session.Open(source->input, kFlags))
        problem = source->incomplete ? source->incomplete : FailureReason(session);
    if (problem) {
        list.push_back({{"file", input.Name()}, {"error", problem.Text()}});
        return FailWith(kExitSomeFailed, problem.About(input.Name()));
    }
    SayHowItCame(*source, input.Name(), m_quiet);
    const Problem warning = source->incomplete ? source->incomplete : DamageWarning(session);
    const std::optional<FileTags> whole = ReadFileTags(source->input);
    const std::vector<TagItem> tags = whole ? whole->items : session.Tags();
    if (m_json)
        list.push_back(InfoJson(session, tags, warning));
    else if (!m_quiet)
        PrintInfo(session, tags, warning);
    else if (warning)
        SayProblem(warning.About(input.Name()));
    return warning ? kExitDamaged : kExitDone;
}

} // namespace

std::unique_ptr<Command> MakeInfoCommand()
{
    return std::make_unique<InfoCommand>();
}

} // namespace aiff::host
