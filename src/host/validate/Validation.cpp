// SPDX-License-Identifier: MIT
#include "host/validate/Validation.h"

#include "host/batch/Interruption.h"
#include "host/validate/CheckProcess.h"
#include "host/validate/RunCheck.h"
#include "host/validate/SampleFolder.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <thread>
#include <unistd.h>

namespace fs = std::filesystem;

namespace aiff::host::validate
{
namespace
{

constexpr char kSamples[] = "/samples";
constexpr char kScratch[] = "/scratch";

// Tries again for a while: a process that is being killed may still make files.
void RemoveTree(const std::string& path)
{
    constexpr int kTries = 50;
    std::error_code error;
    for (int i = 0; i < kTries; ++i) {
        fs::remove_all(path, error);
        if (!fs::exists(path, error))
            return;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
}

} // namespace

Result<std::unique_ptr<WorkFolder>> WorkFolder::Make(const std::string& ownSamples)
{
    std::error_code error;
    std::string name = fs::absolute(fs::temp_directory_path(error)) / "aiffconv-validate-XXXXXX";
    std::unique_ptr<WorkFolder> folder;
    const bool isMade = !error && Interruption::Undisturbed([&] {
        if (mkdtemp(name.data()) == nullptr)
            return false;
        folder = std::make_unique<WorkFolder>(name);
        Interruption::AtEnd([name] {
            EndCheckProcess();
            RemoveTree(name);
        });
        return true;
    });
    if (!isMade)
        return Problem("cannot make a temporary folder: " +
                       (error ? error.message() : Problem::FromErrno().Text()));
    const std::string samples = name + kSamples;
    if (!fs::create_directory(samples, error))
        return Problem(error.message()).About(samples);
    if (Problem problem = FillSampleFolder(samples, ownSamples, folder->m_leftOut))
        return problem;
    return folder;
}

WorkFolder::~WorkFolder()
{
    RemoveTree(m_path);
    Interruption::Undisturbed([] {
        Interruption::AtEnd(nullptr);
        return true;
    });
}

const Check* FindCheck(const std::string& name)
{
    const auto found = std::ranges::find(AllChecks(), name, &Check::name);
    return found == AllChecks().end() ? nullptr : &*found;
}

Findings MakeCheckHere(const Check& check, const std::string& plugin, const std::string& workFolder,
                       int announcements)
{
    const std::string scratch = workFolder + kScratch;
    RemoveTree(scratch);
    std::error_code error;
    fs::create_directory(scratch, error);
    Result<Findings> made = RunCheck(check, plugin, workFolder + kSamples, scratch, announcements);
    RemoveTree(scratch);
    if (made)
        return *made;
    Findings findings;
    findings.Require(false, made.Why().Text(), "a temporary folder for the check");
    return findings;
}

Findings MakeCheck(const Check& check, const std::string& plugin, const std::string& workFolder,
                   std::chrono::seconds limit)
{
    return RunCheckProcess({"codecs", "--validate", plugin, "--only", check.name, "--in-process",
                            "--work-folder", workFolder},
                           limit);
}

} // namespace aiff::host::validate
