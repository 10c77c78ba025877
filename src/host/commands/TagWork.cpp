#include "host/base/ExitCode.h"
#include "host/base/Printable.h"
#include "host/commands/TagCommands.h"

#include <cstdio>

namespace host
{

int ForEachTagFile(const std::vector<std::string>& names, const codecs::CodecLoader& loader,
                   ReportCapture& report,
                   const std::function<bool(TagFile& file, std::string& problem)>& work)
{
    bool failed = false;
    for (const std::string& name : names) {
        const Input input(name);
        TagFile file(loader, report, input);
        std::string problem;
        if (file.Read() && work(file, problem))
            continue;
        failed = true;
        SayProblem(name + ": " + (problem.empty() ? file.Problem() : problem));
    }
    return failed ? kExitSomeFailed : kExitDone;
}

void SayDone(const TagFile& file, const std::string& what)
{
    std::printf("%s: %s\n", Printable(file.Source().Name()).c_str(), Printable(what).c_str());
}

void SayWhatDiffers(const TagFile& file, const std::vector<TagItem>& items,
                    const codecs::CodecLoader& loader)
{
    ReportCapture silent{Trace{}};
    TagFile changed(loader, silent, file.Source());
    if (!changed.Read())
        return;
    for (const TagItem& item : items) {
        if (item.IsPicture())
            continue;
        const TagItem* found = FindItem(changed.Items(), item.name);
        const std::string name = file.Source().Name() + ": \"" + item.name + "\"";
        if (found == nullptr && !item.value.empty())
            SayProblem(name + " does not read back under this name");
        else if (found != nullptr && found->value != item.value)
            SayProblem(name + " reads back as \"" + found->value + "\"");
    }
}

} // namespace host
