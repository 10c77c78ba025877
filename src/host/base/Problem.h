// SPDX-License-Identifier: MIT

// What went wrong, as a value: the host's one idiom for failures.
//
// An operation that can fail returns a Problem, or a Result of what it makes, and prints
// nothing. Whoever knows the file or option concerned names it with About(); commands and
// batches show the text. Where there is nothing to explain, a std::optional, a null
// pointer or a plain bool will do. Exceptions are left to the standard library: main()
// reports them.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace aiff::host
{

// A few words for people, without a line end. True when something is wrong:
//
//   if (Problem problem = output.Write(header))
//       return problem;
class [[nodiscard]] Problem
{
public:
    Problem() = default; // nothing is wrong
    Problem(std::string text) : m_text(std::move(text)) {}
    Problem(const char* text) : m_text(text) {}

    // What errno says.
    static Problem FromErrno();

    explicit operator bool() const { return !m_text.empty(); }
    const std::string& Text() const { return m_text; } // empty when nothing is wrong

    // The problem with its subject in front: "song.wav: is empty".
    Problem About(std::string_view subject) const;

private:
    std::string m_text;
};

// What an operation makes, or the problem that prevented it. True when it was made.
template <class T>
class [[nodiscard]] Result
{
public:
    Result(T value) : m_value(std::move(value)) {}
    Result(Problem why) : m_why(std::move(why)) {}

    explicit operator bool() const { return m_value.has_value(); }
    const Problem& Why() const { return m_why; }

    // Only when it was made.
    T& operator*() { return *m_value; }
    const T& operator*() const { return *m_value; }
    T* operator->() { return &*m_value; }
    const T* operator->() const { return &*m_value; }

private:
    std::optional<T> m_value;
    Problem m_why;
};

// Shows a problem on standard error: one line that begins with the program's name.
void SayProblem(const Problem& problem);

} // namespace aiff::host
