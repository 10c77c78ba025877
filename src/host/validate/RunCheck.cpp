// SPDX-License-Identifier: MIT
#include "host/validate/RunCheck.h"

#include "host/validate/Bench.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fcntl.h>
#include <filesystem>
#include <unistd.h>

namespace aiff::host::validate
{
namespace
{

// Sends what is written to a standard descriptor to a file instead, as long as it lives.
class Redirection
{
public:
    Redirection(int descriptor, const std::string& path)
        : m_descriptor(descriptor), m_saved(fcntl(descriptor, F_DUPFD_CLOEXEC, 3)),
          m_file(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_APPEND, 0600))
    {
        std::fflush(nullptr);
        m_isActive = m_saved >= 0 && m_file >= 0 && dup2(m_file, descriptor) >= 0;
    }
    Redirection(const Redirection&) = delete;
    Redirection& operator=(const Redirection&) = delete;
    ~Redirection()
    {
        std::fflush(nullptr);
        if (m_isActive)
            dup2(m_saved, m_descriptor);
        close(m_saved);
        close(m_file);
    }

    bool IsActive() const { return m_isActive; }
    int File() const { return m_file; }

private:
    int m_descriptor;
    int m_saved;
    int m_file;
    bool m_isActive = false;
};

void Run(const Check& check, Bench& bench)
{
    std::string why;
    if (check.needs != Needs::File &&
        !bench.findings.Require(bench.Load(why), why, "a library with nine functions"))
        return;
    if (check.needs == Needs::Samples && bench.Samples().empty())
        return bench.findings.Skip(kNoSamples);
    check.run(bench);
}

void RunToItsEnd(const Check& check, Bench& bench)
{
    const auto fault = [&bench](const std::string& seen) {
        bench.findings.Require(false, seen, "no exception leaves the plug-in");
    };
    try {
        Run(check, bench);
    } catch (const std::filesystem::filesystem_error& error) { // ours, as for a full disk
        bench.findings.Require(false, error.what(), "room for the files of the check");
    } catch (const std::exception& error) {
        fault(std::string("an exception: ") + error.what());
    } catch (...) {
        fault("an exception of a type of its own");
    }
}

} // namespace

Result<Findings> RunCheck(const Check& check, const std::string& plugin,
                          const std::string& sampleFolder, const std::string& scratchFolder,
                          int announcements)
{
    // A plug-in that sets the locale of the environment shows it.
    setenv("LC_ALL", "C.UTF-8", 1);
    const Redirection output(STDOUT_FILENO, scratchFolder + "/standard-output");
    const Redirection errors(STDERR_FILENO, scratchFolder + "/standard-error");
    if (!output.IsActive() || !errors.IsActive())
        return Problem::FromErrno().About(scratchFolder);
    AnnounceCallsOn(announcements);
    Bench bench(
        {plugin, sampleFolder, scratchFolder, CurrentState(), {output.File(), errors.File()}});
    RunToItsEnd(check, bench);
    bench.Unload();
    AnnounceCallsOn(-1);
    return std::move(bench.findings);
}

} // namespace aiff::host::validate
