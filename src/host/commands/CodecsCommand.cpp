// SPDX-License-Identifier: MIT
#include "host/base/Json.h"
#include "host/base/Printable.h"
#include "host/commands/Command.h"
#include "host/commands/PluginValidation.h"
#include "support/text/XStr.h"

#include <cstdio>

namespace aiff::host
{
namespace
{

using codecs::CodecKind;
using codecs::PluginFile;

constexpr char kExamples[] = R"(Examples:
  aiffconv codecs
  aiffconv codecs --validate AIFF.so           check that it does what hosts rely on
  aiffconv codecs --validate OTHER.so --samples songs/
  aiffconv codecs --validate AIFF.so --json | jq '.checks[] | select(.status == "failed")'

Plug-ins are looked for in Codecs/Bin/decoder, encoder and dsp below the folder that
QVCODECPATH names. If that is not set, they are looked for below the program's own
folder, its parent folder, lib/aiffconv in the parent folder, and aiffconv in the
library folder chosen at build time.

Exit codes: 3 if there is no usable decoder; with --validate, 1 if a check fails.)";

std::string Status(const PluginFile& file)
{
    if (file.kind != CodecKind::Decoder)
        return file.problem.empty() ? "present" : "not usable";
    return file.decoder != nullptr ? "usable" : "not usable";
}

void PrintFile(const PluginFile& file)
{
    std::printf("%s %s: %s\n", KindName(file.kind), Printable(file.path).c_str(),
                Status(file).c_str());
    if (!file.problem.empty())
        std::printf("  %s\n", Printable(file.problem).c_str());
    if (file.decoder == nullptr)
        return;
    std::printf("  %s\n", Printable(ToUtf8(file.decoder->description)).c_str());
    for (const codecs::FileFormat& format : file.decoder->formats)
        std::printf("  %-8s %s\n", Printable(ToUtf8(format.extension)).c_str(),
                    Printable(ToUtf8(format.name)).c_str());
    for (const std::wstring& type : file.decoder->mimeTypes)
        std::printf("  %s\n", Printable(ToUtf8(type)).c_str());
}

Json FileJson(const PluginFile& file)
{
    Json entry = {{"path", file.path}, {"kind", KindName(file.kind)}, {"status", Status(file)}};
    if (!file.problem.empty())
        entry["problem"] = file.problem;
    if (file.decoder == nullptr)
        return entry;
    entry["description"] = ToUtf8(file.decoder->description);
    entry["formats"] = Json::array();
    for (const codecs::FileFormat& format : file.decoder->formats)
        entry["formats"].push_back(
            {{"extension", ToUtf8(format.extension)}, {"name", ToUtf8(format.name)}});
    entry["mimeTypes"] = Json::array();
    for (const std::wstring& type : file.decoder->mimeTypes)
        entry["mimeTypes"].push_back(ToUtf8(type));
    return entry;
}

class CodecsCommand : public Command
{
public:
    CommandLine AddTo(CommandLine program) override
    {
        const CommandLine command =
            program.AddCommand("codecs", "List the plug-ins found, and where; or check one");
        command.AddFlag("--json", m_json, "Write a JSON object");
        AddQuietOption(command, m_quiet);
        m_validation.AddTo(command);
        command.Footer(kExamples);
        return command;
    }

    ExitCode Run(const GlobalOptions&) override
    {
        if (const Problem problem = m_validation.UsageProblem())
            return FailWith(kExitUsage, problem);
        if (m_validation.IsWanted())
            return m_validation.Run(m_json, m_quiet);
        codecs::CodecLoader loader;
        loader.Load();
        if (m_json)
            ShowJson(loader);
        else if (!m_quiet)
            ShowText(loader);
        return loader.Decoders().empty() ? kExitNoDecoder : kExitDone;
    }

private:
    static void ShowText(const codecs::CodecLoader& loader)
    {
        for (const std::string& root : loader.SearchedRoots())
            std::printf("%s %s\n", root == loader.Root() ? "used    " : "searched",
                        Printable(root).c_str());
        for (const PluginFile& file : loader.Files())
            PrintFile(file);
        if (loader.Decoders().empty())
            std::printf("no usable decoder\n");
    }

    static void ShowJson(const codecs::CodecLoader& loader)
    {
        Json result = {{"folder", loader.Root()},
                       {"searched", loader.SearchedRoots()},
                       {"plugins", Json::array()}};
        for (const PluginFile& file : loader.Files())
            result["plugins"].push_back(FileJson(file));
        PrintJson(result, JsonLayout::Indented);
    }

    PluginValidation m_validation;
    bool m_json = false;
    bool m_quiet = false;
};

} // namespace

std::unique_ptr<Command> MakeCodecsCommand()
{
    return std::make_unique<CodecsCommand>();
}

} // namespace aiff::host
