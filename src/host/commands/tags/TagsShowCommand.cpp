// SPDX-License-Identifier: MIT
#include "host/author/edits/TagsToJson.h"
#include "host/base/Json.h"
#include "host/base/Printable.h"
#include "host/batch/FindInputs.h"
#include "host/commands/FetchArguments.h"
#include "host/commands/tags/TagWork.h"
#include "host/session/TagText.h"

#include <cstdio>

namespace aiff::host
{
namespace
{

class ShowCommand : public DecoderCommand
{
public:
    CommandLine AddTo(CommandLine program) override
    {
        const CommandLine command = program.AddCommand("show", "Show fields and pictures");
        command.AddOption("IN", m_inputs, kInputs).Required().Files(kAiffEndings);
        AddFetchOptions(command, m_fetch);
        const Option json =
            command.AddFlag("--json", m_json, "Write a JSON array with one object per input");
        command
            .AddFlag("--data", m_data,
                     "With the bytes of pictures and of frames that have no name, for \"tags set "
                     "--from-json\"")
            .Needs(json);
        AddQuietOption(command, m_quiet);
        return command;
    }

private:
    ExitCode Work(const codecs::CodecLoader& loader, const Trace& trace) override
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

    ExitCode Show(const codecs::CodecLoader& loader, ReportCapture& report, const InputName& found,
                  Json& list) const
    {
        const std::string& name = found.name;
        const Input input(name);
        const Result<InputAtHand> source =
            BringToHand(loader, report, input, Wanted::SoundAndTags, m_fetch, [](int64_t) {});
        EditedFile file(loader, report, source ? source->input : input, {});
        if (Problem problem = found.problem ? found.problem : source ? file.Read() : source.Why()) {
            problem = source && source->incomplete ? source->incomplete : problem;
            list.push_back({{"file", name}, {"error", problem.Text()}});
            return FailWith(kExitSomeFailed, problem.About(name));
        }
        list.push_back({{"file", name}});
        if (file.Tags() != nullptr)
            list.back().update(
                TagsToJson(*file.Tags(), m_data ? FrameData::Included : FrameData::Counted));
        else
            list.back()["tags"] = TagsJson(file.Items());
        std::vector<std::string> problems =
            file.Tags() != nullptr ? file.Tags()->hidden : std::vector<std::string>();
        if (source->incomplete)
            problems.push_back(source->incomplete.Text());
        SayHowItCame(*source, name, m_quiet);
        if (!m_json && !m_quiet)
            Print(name, file.Items(), problems.empty());
        return problems.empty() ? kExitDone : ShowProblems(name, problems, list.back());
    }

    // `isAll`: whether the items are all tags that there are.
    static void Print(const std::string& name, const std::vector<TagItem>& items, bool isAll)
    {
        std::printf("%s%s\n", Printable(name).c_str(), items.empty() && isAll ? ": no tags" : "");
        PrintTags(items, 2);
    }

    static ExitCode ShowProblems(const std::string& name, const std::vector<std::string>& problems,
                                 Json& entry)
    {
        std::fflush(stdout); // keeps the lines of a file together
        for (const std::string& text : problems)
            SayProblem(Problem(text).About(name));
        entry["problem"] = Joined(problems);
        return kExitDamaged;
    }

    std::vector<std::string> m_inputs;
    Fetch m_fetch = Fetch::WhenNeeded;
    bool m_json = false;
    bool m_data = false;
    bool m_quiet = false;
};

} // namespace

std::unique_ptr<Command> MakeTagsShowCommand()
{
    return std::make_unique<ShowCommand>();
}

} // namespace aiff::host
