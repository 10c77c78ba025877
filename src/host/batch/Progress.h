// SPDX-License-Identifier: MIT

// How far a command has got, shown to the user.
#pragma once

#include "host/base/Problem.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace aiff::host
{

// How far a file has got: a fraction of the whole, 0 to 1, or, where the whole is unknown,
// the bytes received so far.
struct Advance {
    Advance(double done) : fraction(done) {}
    static Advance Received(int64_t bytes)
    {
        Advance advance(0);
        advance.received = bytes;
        return advance;
    }

    double fraction;
    int64_t received = 0;
};

using ProgressFunction = std::function<void(Advance)>;

// Shows progress on standard error: a bar when that is a terminal, plain lines otherwise.
// All operations may be called from any thread at any time.
class Progress
{
public:
    enum class Style {
        Quiet, // problems only
        Lines,
        Bar
    };

    Progress(Style style, size_t files, size_t workers);
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress();

    // A worker has got this far with its current file.
    void Update(size_t worker, Advance advance);
    // A worker has finished a file, successfully or not.
    void FileDone(size_t worker);
    // How a file went, unless `line` is empty. Shown in the style Lines, and in the style Bar
    // when there is only one file.
    void ShowResult(std::string_view line);
    // How the whole command went; not shown in the style Quiet.
    void Summary(std::string_view line);
    // Shown in every style.
    void ShowProblem(const Problem& problem);

private:
    using Clock = std::chrono::steady_clock;

    void Draw();
    std::string ReceivedText() const;
    void Erase();
    void Write(std::string_view line);

    const Style m_style;
    const size_t m_files;
    // Of each worker's current file.
    std::vector<std::atomic<float>> m_fractions;
    std::vector<std::atomic<int64_t>> m_received;
    std::atomic<Clock::rep> m_nextDraw{0};
    std::mutex m_access; // guards what follows, and standard error
    size_t m_filesDone = 0;
    bool m_drawn = false;
};

} // namespace aiff::host
