// SPDX-License-Identifier: MIT
#include "host/batch/OutputPlan.h"

#include <map>
#include <set>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace aiff::host
{
namespace
{

using ExtensionTest = std::function<bool(const std::string&)>;

// "song.aiff" becomes "song.wav". Only a known extension is replaced: in "Opus 1.
// Allegro" nothing is.
std::string OutputName(const Input& input, const std::string& extension,
                       const ExtensionTest& isKnownExtension)
{
    std::string name = input.BaseName();
    const std::string old = input.Extension();
    if (!old.empty() && isKnownExtension(old))
        name.resize(name.size() - old.size());
    return name + extension;
}

Problem SharedOutput(const OutputPlan& plan)
{
    std::map<std::string, const Input*> taken;
    for (const OutputPlan::Item& item : plan.items) {
        const auto [entry, isNew] = taken.emplace(item.output, &item.input);
        if (!isNew)
            return "'" + entry->second->Name() + "' and '" + item.input.Name() +
                   "' would both be written to '" + item.output + "'";
    }
    return {};
}

Problem OverwrittenInput(const OutputPlan& plan)
{
    using FileIdentity = std::pair<dev_t, ino_t>;
    std::set<FileIdentity> inputs;
    struct stat status;
    for (const OutputPlan::Item& item : plan.items) {
        if (item.input.IsFile() && stat(item.input.Path().c_str(), &status) == 0)
            inputs.emplace(status.st_dev, status.st_ino);
    }
    for (const OutputPlan::Item& item : plan.items) {
        const int found =
            item.output == "-" ? fstat(STDOUT_FILENO, &status) : stat(item.output.c_str(), &status);
        if (found == 0 && S_ISREG(status.st_mode) &&
            inputs.contains({status.st_dev, status.st_ino}))
            return "the output '" + item.output + "' is one of the inputs";
    }
    return {};
}

} // namespace

Result<OutputPlan> PlanOutputs(const std::vector<std::string>& inputs, const std::string& target,
                               const std::string& extension, const ExtensionTest& isKnownExtension)
{
    if (target.empty())
        return Problem("the name of the output is empty");
    struct stat status;
    const bool exists = target != "-" && stat(target.c_str(), &status) == 0;
    const bool isFolder = exists && S_ISDIR(status.st_mode);
    const bool several = inputs.size() > 1;
    if (several && (target == "-" || (exists && !isFolder)))
        return Problem("several inputs must be written to a folder, and '" + target +
                       "' is not a folder");
    OutputPlan plan;
    const bool intoFolder = isFolder || several || (!exists && target.ends_with('/'));
    if (intoFolder && !isFolder)
        plan.newFolder = target;
    const std::string folder = target.ends_with('/') ? target : target + "/";
    for (const std::string& name : inputs) {
        Input input(name);
        std::string output =
            intoFolder ? folder + OutputName(input, extension, isKnownExtension) : target;
        plan.items.push_back({std::move(input), std::move(output)});
    }
    if (Problem problem = SharedOutput(plan))
        return problem;
    if (Problem problem = OverwrittenInput(plan))
        return problem;
    return plan;
}

} // namespace aiff::host
