// SPDX-License-Identifier: MIT
#include "host/author/CodedSound.h"
#include "host/author/SoundFile.h"
#include "host/author/check/FileCheck.h"
#include "host/author/marks/AiffMarks.h"
#include "host/author/tags/ReadFileTags.h"
#include "host/base/Json.h"
#include "host/base/Printable.h"
#include "host/batch/FindInputs.h"
#include "host/commands/Command.h"
#include "host/commands/FetchArguments.h"
#include "host/commands/MapText.h"
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
  aiffconv info --map song.aiff                with the chunks of the file
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

// What there is to say of one input.
struct Findings {
    std::vector<TagItem> tags;
    Problem warning;
    // Where decoders refuse the sound: what `convert` makes of it.
    bool isCoded = false;
    std::optional<CodedSound> conversion = {};
    SoundMarks marks = {};
    std::optional<FileMap> map = {};
};

int64_t Frames(const PcmReader& reader)
{
    return reader.Length() / std::max<int64_t>(reader.Format().nBlockAlign, 1);
}

int64_t Milliseconds(const PcmReader& reader)
{
    constexpr int64_t kPerSecond = 1000;
    const uint32_t rate = reader.Format().nSamplesPerSec;
    return Frames(reader) * kPerSecond / std::max<int64_t>(rate, 1);
}

void PrintConversion(const std::optional<CodedSound>& sound)
{
    PrintLine("Converts to", !sound ? "nothing: its coding is not supported"
                                    : sound->Becomes() + ", " +
                                          FormatDuration(Milliseconds(*sound->reader)) + " (" +
                                          Counted(Frames(*sound->reader), "frame") +
                                          "), decoded by " + sound->decoder);
}

// Null where nothing decodes the sound.
Json ConversionJson(const std::optional<CodedSound>& sound)
{
    if (!sound)
        return nullptr;
    const STQvWaveFormat format = sound->reader->Format();
    return {{"coding", sound->coding},
            {"by", sound->decoder},
            {"samples", format.nFormatTag == kFormatFloat ? "float" : "integer"},
            {"bitsPerSample", int{format.nBitsPerSample}},
            {"frames", Frames(*sound->reader)},
            {"milliseconds", Milliseconds(*sound->reader)}};
}

const char* ModeName(const Loop& loop)
{
    return loop.mode == Loop::Mode::Forward    ? "forward"
           : loop.mode == Loop::Mode::PingPong ? "ping-pong"
                                               : "backward";
}

const char* KindName(const Loop& loop)
{
    return loop.isRelease ? "release" : "sustain";
}

void PrintMarks(const SoundMarks& marks)
{
    if (!marks.markers.empty())
        std::printf("  Markers\n");
    for (const Marker& marker : marks.markers)
        PrintLine("  frame " + std::to_string(marker.frame),
                  marker.comment.empty() ? marker.name : marker.name + " - " + marker.comment);
    for (const Loop& loop : marks.loops)
        PrintLine("Loop", std::string(KindName(loop)) + ", " + ModeName(loop) + ", frames " +
                              std::to_string(loop.first) + " to " + std::to_string(loop.end));
    if (marks.instrument)
        PrintLine("Base note", std::to_string(marks.instrument->baseNote) + ", detuned by " +
                                   Counted(marks.instrument->detune, "cent"));
    if (!marks.bext.empty() || !marks.ixml.empty())
        PrintLine("Broadcast data", marks.ixml.empty()   ? "bext"
                                    : marks.bext.empty() ? "iXML"
                                                         : "bext, iXML");
}

void AddMarksJson(const SoundMarks& marks, Json& entry)
{
    Json markers = Json::array();
    for (const Marker& marker : marks.markers)
        markers.push_back({{"id", marker.id},
                           {"frame", marker.frame},
                           {"name", marker.name},
                           {"comment", marker.comment}});
    Json loops = Json::array();
    for (const Loop& loop : marks.loops)
        loops.push_back({{"kind", KindName(loop)},
                         {"mode", ModeName(loop)},
                         {"first", loop.first},
                         {"end", loop.end}});
    entry["markers"] = std::move(markers);
    entry["loops"] = std::move(loops);
    entry["instrument"] = nullptr;
    if (const auto& sampler = marks.instrument)
        entry["instrument"] = {{"baseNote", sampler->baseNote},
                               {"detune", sampler->detune},
                               {"lowNote", sampler->lowNote},
                               {"highNote", sampler->highNote},
                               {"lowVelocity", sampler->lowVelocity},
                               {"highVelocity", sampler->highVelocity},
                               {"gain", sampler->gain}};
}

void PrintInfo(const DecoderSession& session, const Findings& findings)
{
    const STQvAudioInfo& info = session.AudioInfo();
    std::printf("%s\n", Printable(session.Source().Name()).c_str());
    PrintLine("Format", FormatText(info));
    PrintLine("Length", LengthText(session));
    PrintLine("Bit rate", std::to_string(info.nBitRate / 1000) + " kbit/s");
    if (findings.isCoded)
        PrintConversion(findings.conversion);
    if (findings.warning)
        PrintLine("Problem", findings.warning.Text());
    if (!findings.tags.empty())
        std::printf("  Tags\n");
    PrintTags(findings.tags, 4);
    PrintMarks(findings.marks);
    for (const TagItem& item : session.Properties())
        PrintLine(item.name, item.value);
    PrintLine("Decoder", ToUtf8(session.UsedDecoder().description));
    if (findings.map)
        PrintMap(*findings.map);
}

Json InfoJson(const DecoderSession& session, const Findings& findings)
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
                  {"tags", TagsJson(findings.tags)}};
    AddMarksJson(findings.marks, entry);
    if (findings.isCoded)
        entry["conversion"] = ConversionJson(findings.conversion);
    if (findings.warning)
        entry["problem"] = findings.warning.Text();
    if (findings.map)
        entry["map"] = MapJson(*findings.map);
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
    ExitCode Fail(const std::string& name, const Problem& problem, const FileMap& map,
                  Json& list) const;
    Findings Find(const DecoderSession& session, const Input& input) const;

    std::vector<std::string> m_inputs;
    Fetch m_fetch = Fetch::WhenNeeded;
    bool m_pluginOnly = false;
    bool m_map = false;
    bool m_json = false;
    bool m_quiet = false;
};

CommandLine InfoCommand::AddTo(CommandLine program)
{
    const CommandLine command =
        program.AddCommand("info", "Show format, length, properties and tags");
    command.AddOption("IN", m_inputs, kInputs).Required().Files(kAiffEndings);
    AddPluginOnlyOption(command, m_pluginOnly);
    AddFetchOptions(command, m_fetch);
    command.AddFlag("--map", m_map,
                    "Show also where the chunks of an AIFF file lie, and what they are for");
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
        m_map ? BringFileToHand(input, m_fetch, [](int64_t) {})
              : BringToHand(loader, report, input, Wanted::Description, m_fetch, [](int64_t) {});
    DecoderSession session(loader, report);
    Problem problem = name.problem ? name.problem
                      : source     ? source->input.FileProblem()
                                   : source.Why();
    const FileMap map = m_map && !problem ? MapFile(source->input.Path()) : FileMap();
    constexpr uint32_t kFlags = QV_OPEN_AUDIO_INFO | QV_OPEN_READ_TAGS | QV_OPEN_PROPERTIES;
    if (!problem && !session.Open(source->input, kFlags))
        problem = source->incomplete ? source->incomplete : FailureReason(session);
    if (problem)
        return Fail(input.Name(), problem, map, list);
    SayHowItCame(*source, input.Name(), m_quiet);
    Findings findings = Find(session, source->input);
    if (source->incomplete)
        findings.warning = source->incomplete;
    if (m_map)
        findings.map = map;
    if (m_json)
        list.push_back(InfoJson(session, findings));
    else if (!m_quiet)
        PrintInfo(session, findings);
    else if (findings.warning)
        SayProblem(findings.warning.About(input.Name()));
    return findings.warning ? kExitDamaged : kExitDone;
}

// A file that no decoder takes may have a map all the same.
ExitCode InfoCommand::Fail(const std::string& name, const Problem& problem, const FileMap& map,
                           Json& list) const
{
    list.push_back({{"file", name}, {"error", problem.Text()}});
    if (m_map)
        list.back()["map"] = MapJson(map);
    const ExitCode code = FailWith(kExitSomeFailed, problem.About(name));
    if (!map.pieces.empty() && !m_json && !m_quiet) {
        std::printf("%s\n", Printable(name).c_str());
        PrintMap(map);
    }
    return code;
}

Findings InfoCommand::Find(const DecoderSession& session, const Input& input) const
{
    const std::optional<FileTags> whole = ReadFileTags(input);
    Findings findings{whole ? whole->items : session.Tags(), DamageWarning(session)};
    for (const std::string& text : whole ? whole->hidden : std::vector<std::string>())
        findings.warning = findings.warning ? findings.warning.Text() + ", " + text : text;
    if (!input.IsStream())
        findings.marks = ReadAiffMarks(input.Path());
    if (input.IsStream() || m_pluginOnly)
        return findings;
    findings.isCoded = ReadAiffSound(input.Path()).isCoded;
    Result<CodedSound> sound =
        findings.isCoded ? OpenCodedSound(input.Path(), {}) : Problem("is not coded");
    if (sound)
        findings.conversion = std::move(*sound);
    return findings;
}

} // namespace

std::unique_ptr<Command> MakeInfoCommand()
{
    return std::make_unique<InfoCommand>();
}

} // namespace aiff::host
