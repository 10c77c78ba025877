#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace host
{

// How far something is: a part of the whole, 0 to 1, or, where the whole is unknown,
// the bytes that have come so far.
struct Advance {
    Advance(double part) : fraction(part) {}
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

// Tells the user on standard error how far a command is: a bar when that is a
// terminal, plain lines otherwise. Threads may call everything at any time.
class Progress
{
public:
    enum class Style {
        Quiet, // problems only
        Lines,
        Bar
    };
    // Quiet when asked for; a bar only on a terminal that shows no trace.
    static Style ChooseStyle(bool quiet, bool traceOnTerminal);

    Progress(Style style, size_t files, size_t workers);
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress();

    // A worker is this far with its present file.
    void Update(size_t worker, Advance advance);
    // A worker is through with a file, well or not. `line` tells how it went and is
    // shown in the style Lines, or when it is the only file.
    void FileDone(size_t worker, std::string_view line);
    // How it went as a whole; shown unless quiet.
    void Summary(std::string_view line);
    // Something the user must see in every style.
    void ShowProblem(std::string_view line);

private:
    using Clock = std::chrono::steady_clock;

    void Draw();
    void Erase();
    void Write(std::string_view line);

    const Style m_style;
    const size_t m_files;
    // Of each worker's present file.
    std::vector<std::atomic<float>> m_fractions;
    std::vector<std::atomic<int64_t>> m_received;
    std::atomic<Clock::rep> m_nextDraw{0};
    std::mutex m_access; // of all below, and of standard error
    size_t m_filesDone = 0;
    bool m_drawn = false;
};

} // namespace host
