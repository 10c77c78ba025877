// SPDX-License-Identifier: MIT
#include "host/author/tags/KnownFields.h"
#include "host/base/Json.h"
#include "host/commands/Command.h"
#include "host/commands/tags/TagArguments.h"
#include "host/commands/tags/TagWork.h"

#include <algorithm>
#include <cstdio>

namespace aiff::host
{
namespace
{

constexpr char kNamesRule[] =
    R"(Case, blanks and punctuation do not matter: "album artist" and ALBUM_ARTIST are one
name, and so are the frame and the FLAC name. Any other name makes a field of its own
in a TXXX frame; with "TXXX:" before it, so does one of these.)";

class NamesCommand : public Command
{
public:
    CommandLine AddTo(CommandLine program) override
    {
        const CommandLine command = program.AddCommand("names", "List the names of fields");
        const Option json =
            command.AddFlag("--json", m_json, "Write a JSON array with one object per field");
        command.AddFlag("--plain", m_plain, "Write the names alone, one per line").Excludes(json);
        command.Footer(kNamesRule);
        return command;
    }

    ExitCode Run(const GlobalOptions&) override
    {
        m_json ? PrintAsJson() : m_plain ? PrintPlain() : PrintTable();
        return kExitDone;
    }

private:
    static void PrintAsJson()
    {
        Json list = Json::array();
        for (const KnownField& field : KnownFields())
            list.push_back({{"name", field.name},
                            {"id3v2.3", field.v23},
                            {"id3v2.4", field.v24},
                            {"flac", field.property},
                            {"aliases", field.aliases}});
        PrintJson(list, JsonLayout::Indented);
    }

    static void PrintPlain()
    {
        for (const std::string& name : FieldNames())
            std::printf("%s\n", name.c_str());
    }

    static void PrintTable()
    {
        PrintRow({"Name", "ID3v2.3", "ID3v2.4", "FLAC", {"Also"}, {}});
        for (const KnownField& field : KnownFields())
            PrintRow(field);
    }

    static void PrintRow(const KnownField& field)
    {
        std::printf("%-46s %-10s %-7s %s", field.name.c_str(), field.v23.c_str(), field.v24.c_str(),
                    field.property.c_str());
        if (!field.aliases.empty())
            std::printf("%*s%s", static_cast<int>(27 - std::min<size_t>(field.property.size(), 26)),
                        "", Joined(field.aliases).c_str());
        std::printf("\n");
    }

    bool m_json = false;
    bool m_plain = false;
};

} // namespace

std::unique_ptr<Command> MakeTagsNamesCommand()
{
    return std::make_unique<NamesCommand>();
}

} // namespace aiff::host
