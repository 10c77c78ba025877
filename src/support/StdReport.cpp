// SPDX-License-Identifier: MIT
#include "support/StdReport.h"

#include "support/QuietWrite.h"

#include <mutex>

namespace aiff::StdReport
{
namespace
{

constexpr std::wstring_view kEntered = L"->->";
constexpr std::wstring_view kLeft = L"<-<-";
constexpr size_t kIndentStep = 2;

// Shared by all instances and threads; Access guards the other two.
std::mutex Access;
size_t SpaceAdder = 0; // spaces before the next line of trace
bool LastWasCRLF = false;

bool BeginsWith(Message message, std::wstring_view marker)
{
    return message.size() != 0 && message.begin()->BeginsWith(marker);
}

// Removes two spaces, but never the last one: once anything has been traced, the outermost
// level is indented by one.
void ReduceIndent()
{
    for (size_t i = 0; i < kIndentStep && SpaceAdder >= 2; ++i)
        --SpaceAdder;
}

// Builds a text and writes it. When memory is short, the text is left out: the report
// never makes an operation fail.
void BuildAndWrite(const void* handle, Message prefix, Message message, const char* operation,
                   bool newline) noexcept
{
    if (!IsOn(handle))
        return;
    try {
        WriteFile(handle, GetFinalMsg(prefix, message, operation, newline));
    } catch (...) {
    }
}

// Makes one write of trace. A null prefix means the indentation.
void WriteTrace(const Message* prefix, Message message, const STNStdReport& report,
                const char* operation, bool newline) noexcept
{
    const std::scoped_lock lock(Access);
    if (BeginsWith(message, kLeft))
        ReduceIndent();
    const Message indentation = {Piece::Spaces(LastWasCRLF ? SpaceAdder : 0)};
    BuildAndWrite(report.hDebug, prefix != nullptr ? *prefix : indentation, message, operation,
                  newline);
    if (BeginsWith(message, kEntered))
        SpaceAdder += kIndentStep;
    LastWasCRLF = newline;
}

} // namespace

Piece Piece::Code(uint32_t code)
{
    Piece piece(int64_t{code});
    piece.m_kind = Kind::Code;
    return piece;
}

Piece Piece::Spaces(size_t count)
{
    Piece piece(static_cast<int64_t>(count));
    piece.m_kind = Kind::Spaces;
    return piece;
}

void Piece::AppendTo(XStr& text) const
{
    if (m_kind == Kind::Text) {
        text += m_text;
    } else if (m_kind == Kind::Spaces) {
        text.append(static_cast<size_t>(m_number), L' ');
    } else if (m_kind == Kind::Number) {
        text += std::to_wstring(m_number);
    } else {
        for (auto code = static_cast<uint32_t>(m_number); (code & 0xFF) != 0; code >>= 8)
            text += static_cast<wchar_t>(code & 0xFF);
    }
}

bool Piece::BeginsWith(std::wstring_view marker) const
{
    return m_kind == Kind::Text && m_text.substr(0, marker.size()) == marker;
}

bool IsOn(const void* handle)
{
    return handle != nullptr && handle != QV_INVALID_HANDLE;
}

XStr GetFinalMsg(Message prefix, Message message, const char* operation, bool newline)
{
    XStr text;
    for (const Piece& piece : prefix)
        piece.AppendTo(text);
    for (const Piece& piece : message)
        piece.AppendTo(text);
    if (newline) {
        if (operation != nullptr) {
            text += L"  [";
            for (const char* c = operation; *c != '\0'; ++c)
                text += static_cast<wchar_t>(static_cast<unsigned char>(*c));
            text += L"]";
        }
        text += L"\r\n";
    }
    return text;
}

void WriteFile(const void* handle, std::wstring_view text) noexcept
{
    if (!IsOn(handle))
        return;
    try {
        const std::string bytes = ToUtf8(text);
        const auto fd = static_cast<int>(reinterpret_cast<intptr_t>(handle));
        (void)WriteQuietly(fd, bytes.data(), bytes.size());
    } catch (...) {
    }
}

void WriteDEBUG(Message message, const STNStdReport& report, const char* operation,
                bool newline) noexcept
{
    WriteTrace(nullptr, message, report, operation, newline);
}

void WriteDEBUG(const wchar_t* message, const STNStdReport& report, const char* operation,
                bool newline) noexcept
{
    WriteTrace(nullptr, {Piece(message)}, report, operation, newline);
}

void WriteDEBUGWithPrefix(Message prefix, Message message, const STNStdReport& report,
                          const char* operation) noexcept
{
    WriteTrace(&prefix, message, report, operation, true);
}

void WriteINFO(Message message, const STNStdReport& report, const char* operation) noexcept
{
    WriteDEBUGWithPrefix({L"*** Information: "}, message, report, operation);
    BuildAndWrite(report.hInformation, {}, message, operation, true);
}

void WriteERROR(Message message, const STNStdReport& report, const char* operation) noexcept
{
    WriteDEBUGWithPrefix({L"*** Error: "}, message, report, operation);
    BuildAndWrite(report.hError, {}, message, operation, true);
}

} // namespace aiff::StdReport
