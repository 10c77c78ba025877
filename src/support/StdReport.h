// SPDX-License-Identifier: MIT

// The diagnostic report: an indented trace of all operations, errors and tolerated
// irregularities, written to the three outputs that the host handed over.
//
// The indentation, and whether the last write of trace ended its line, belong to the
// process, not to a report: all instances share them under one lock. For an output that is
// off no text is built; only the shared state is kept up to date.
#pragma once

#include "qvcodec.h"
#include "support/text/XStr.h"

#include <initializer_list>

namespace aiff::StdReport
{

// One piece of a message: text, a decimal number, a four-character code or spaces. It does
// not own its text. Pieces are joined only when an output wants the line.
class Piece
{
public:
    Piece(const wchar_t* text) : m_text(text != nullptr ? text : L"") {}
    Piece(const XStr& text) : m_text(text) {}
    Piece(int64_t number) : m_kind(Kind::Number), m_number(number) {}

    // The characters of a code, the first one in the least significant byte, up to the
    // first zero byte.
    static Piece Code(uint32_t code);
    static Piece Spaces(size_t count);

    void AppendTo(XStr& text) const;
    bool BeginsWith(std::wstring_view marker) const;

private:
    enum class Kind { Text, Number, Code, Spaces };
    Kind m_kind = Kind::Text;
    std::wstring_view m_text;
    int64_t m_number = 0;
};

using Message = std::initializer_list<Piece>;

// Whether a handle of the report stands for an output at all.
bool IsOn(const void* handle);

// Writes a piece of trace. A message that begins with "->->" indents what follows, one
// that begins with "<-<-" reduces the indentation.
//
// operation  name of the reporting operation, shown at the end of the line; null for
//            none; not shown when `newline` is false
// newline    whether this write ends its line
void WriteDEBUG(Message message, const STNStdReport& report, const char* operation = nullptr,
                bool newline = true) noexcept;
void WriteDEBUG(const wchar_t* message, const STNStdReport& report, const char* operation = nullptr,
                bool newline = true) noexcept;

// Writes a whole line of trace whose prefix replaces the indentation.
void WriteDEBUGWithPrefix(Message prefix, Message message, const STNStdReport& report,
                          const char* operation = nullptr) noexcept;

// Writes a tolerated irregularity to the information output and into the trace.
void WriteINFO(Message message, const STNStdReport& report, const char* operation) noexcept;

// Writes a failure to the error output and into the trace.
void WriteERROR(Message message, const STNStdReport& report, const char* operation) noexcept;

// The text of one write: prefix and message, and with `newline` the operation and the
// line end.
XStr GetFinalMsg(Message prefix, Message message, const char* operation, bool newline);

// Writes a text in UTF-8 with one system call. Does nothing when the output is off; ignores
// failures.
void WriteFile(const void* handle, std::wstring_view text) noexcept;

// Traces an operation: the constructor writes the entry line. The destructor writes
// nothing, because an operation that fails leaves out its closing line. `report` and `name`
// must outlive the object.
class Operation
{
public:
    Operation(const STNStdReport& report, const char* name) : m_report(report), m_name(name)
    {
        WriteDEBUG(L"->->", m_report, m_name);
    }

    // Writes the closing line; for places that are reached whatever the result.
    void Leave() const { WriteDEBUG(L"<-<-", m_report, m_name); }

    // Writes the closing line of an operation that has succeeded: always true.
    bool Succeed() const
    {
        Leave();
        return true;
    }

private:
    const STNStdReport& m_report;
    const char* m_name;
};

} // namespace aiff::StdReport
