#include "host/commands/TagWork.h"

#include "host/base/Printable.h"

#include <algorithm>
#include <cstdio>

namespace aiff::host
{
namespace
{

void SayWhatDiffers(const TagFile& file, const std::vector<TagItem>& items,
                    const codecs::CodecLoader& loader)
{
    if (std::ranges::all_of(items, &TagItem::IsPicture))
        return;
    ReportCapture silent{Trace{}};
    TagFile changed(loader, silent, file.Source());
    if (changed.Read())
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

} // namespace

ExitCode ForEachTagFile(const std::vector<std::string>& names, const codecs::CodecLoader& loader,
                        const Trace& trace, const std::function<Problem(TagFile&)>& work)
{
    ReportCapture report(trace);
    ExitCode code = kExitDone;
    for (const std::string& name : names) {
        const Input input(name);
        TagFile file(loader, report, input);
        Problem problem = file.Read();
        if (!problem)
            problem = work(file);
        if (problem)
            code = FailWith(kExitSomeFailed, problem.About(name));
    }
    return code;
}

ExitCode WriteToEach(const std::vector<std::string>& names, const std::vector<TagItem>& items,
                     const std::string& summary, const codecs::CodecLoader& loader,
                     const Trace& trace)
{
    return ForEachTagFile(names, loader, trace, [&](TagFile& file) {
        Problem problem = file.Write(items);
        if (!problem) {
            SayDone(file, summary);
            SayWhatDiffers(file, items, loader);
        }
        return problem;
    });
}

void SayDone(const TagFile& file, const std::string& what)
{
    std::printf("%s: %s\n", Printable(file.Source().Name()).c_str(), Printable(what).c_str());
}

std::string Joined(const std::vector<std::string>& words)
{
    std::string text;
    for (const std::string& word : words)
        text += (text.empty() ? "" : ", ") + word;
    return text;
}

bool SkipInformation(const std::string& name)
{
    const bool isInformation = TagItem{name, {}, {}}.IsInformation();
    if (isInformation)
        SayProblem("\"" + name + "\" cannot be changed; skipping it");
    return isInformation;
}

} // namespace aiff::host
