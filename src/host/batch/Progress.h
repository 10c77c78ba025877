// SPDX-License-Identifier: MIT

// How far a command has got, shown to the user.
#pragma once

#include "host/base/Problem.h"
#include "host/batch/ProgressBar.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
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

    // sizes  of the files in bytes; negative where that is unknown
    Progress(Style style, std::vector<int64_t> sizes, size_t workers);
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress();

    // A worker begins the file with an index into the sizes.
    void Begin(size_t worker, size_t index, std::string_view name);
    // It has got this far with the file.
    void Update(size_t worker, Advance advance);
    // It has finished the file, successfully or not.
    void FileDone(size_t worker);
    // How a file went, unless `line` is empty. Shown in the style Lines, and in the style Bar
    // when there is only one file.
    void ShowResult(std::string_view line);
    // How the whole command went; not shown in the style Quiet.
    void Summary(std::string_view line);
    // Shown in every style.
    void ShowProblem(const Problem& problem);

private:
    struct File {
        size_t index;
        std::string name; // as Printable makes it
    };

    void DrawUntilEnd();
    ProgressState State();
    int64_t BytesOf(size_t worker) const;
    void Erase();
    void Write(std::string_view line);

    const Style m_style;
    const std::vector<int64_t> m_sizes;
    // Of each worker's current file.
    std::vector<std::atomic<float>> m_fractions;
    std::vector<std::atomic<int64_t>> m_received;
    std::mutex m_access; // guards what follows, and standard error
    std::vector<std::optional<File>> m_current;
    size_t m_filesDone = 0;
    int64_t m_bytesDone = 0; // of these files
    int64_t m_total = 0;     // bytes of known sizes, done and to do
    size_t m_unknown = 0;    // files to do whose size is unknown
    Speed m_speed;
    bool m_drawn = false;
    bool m_ends = false;
    std::condition_variable m_end;
    std::thread m_drawing;
};

} // namespace aiff::host
