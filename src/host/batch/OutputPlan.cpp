// SPDX-License-Identifier: MIT
#include "host/batch/OutputPlan.h"

#include "host/batch/Interruption.h"
#include "host/batch/OutputFile.h"
#include "support/text/Ascii.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <sys/stat.h>
#include <unistd.h>
#include <unordered_map>
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

// Whether names in a folder are the same when they differ only by case. The folder may be yet
// to be made.
bool IgnoresCase(std::string folder)
{
    std::error_code error;
    while (!std::filesystem::is_directory(folder, error) && folder.size() > 1)
        folder = FolderOf(folder.substr(0, folder.size() - 1));
    const std::string name = folder + ".aiffconv-case-XXXXXX";
    std::vector<char> lower(name.c_str(), name.c_str() + name.size() + 1);
    return Interruption::Undisturbed([&] {
        const int file = mkstemp(lower.data());
        if (file < 0)
            return false; // nor can outputs be written there
        std::string upper(lower.data());
        std::transform(upper.begin() + std::ssize(folder), upper.end(),
                       upper.begin() + std::ssize(folder), UpperAscii<char>);
        const bool ignores = access(upper.c_str(), F_OK) == 0;
        unlink(lower.data());
        close(file);
        return ignores;
    });
}

// Two inputs whose outputs have the same name, or the same but for case where that counts.
Problem SharedOutput(const OutputPlan& plan, bool withoutCase)
{
    std::unordered_map<std::string, const OutputPlan::Item*> taken;
    for (const OutputPlan::Item& item : plan.items) {
        if (item.problem)
            continue;
        std::string name = item.output;
        if (withoutCase)
            std::ranges::transform(name, name.begin(), LowerAscii<char>);
        const auto [entry, isNew] = taken.emplace(std::move(name), &item);
        if (isNew)
            continue;
        if (withoutCase && !IgnoresCase(FolderOf(item.output)))
            return {};
        return "'" + entry->second->input.Name() + "' and '" + item.input.Name() +
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

Result<OutputPlan> PlanOutputs(const std::vector<InputName>& inputs, const std::string& target,
                               const std::string& extension, const ExtensionTest& isKnownExtension)
{
    if (target.empty())
        return Problem("the name of the output is empty");
    struct stat status;
    const bool exists = target != "-" && stat(target.c_str(), &status) == 0;
    const bool isFolder = exists && S_ISDIR(status.st_mode);
    const bool several = inputs.size() > 1 || inputs.front().below.has_value();
    if (several && (target == "-" || (exists && !isFolder)))
        return Problem("several inputs must be written to a folder, and '" + target +
                       "' is not a folder");
    OutputPlan plan;
    if (isFolder || several || (!exists && target.ends_with('/')))
        plan.folder = target.ends_with('/') ? target : target + "/";
    for (const InputName& name : inputs) {
        Input input(name.name);
        std::string output = target;
        if (name.problem)
            output = plan.folder + name.below.value_or("");
        else if (!plan.folder.empty())
            output = plan.folder + name.below.value_or("") +
                     OutputName(input, extension, isKnownExtension);
        plan.items.push_back({std::move(input), std::move(output), name.problem});
    }
    for (const bool withoutCase : {false, true}) {
        if (Problem problem = SharedOutput(plan, withoutCase))
            return problem;
    }
    if (Problem problem = OverwrittenInput(plan))
        return problem;
    return plan;
}

} // namespace aiff::host
