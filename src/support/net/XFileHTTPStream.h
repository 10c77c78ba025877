// SPDX-License-Identifier: MIT

// The input of a decoder instance.
#pragma once

#include "support/file/XFile.h"
#include "support/net/HttpTransfer.h"

namespace aiff
{

// Opens a local file or, for a name that begins with "http://" in any case, an HTTP
// stream, and remembers which of them the last successful Open found.
//
// A stream keeps one connection open, and about 64 KiB in memory; two of each while it
// seeks. Redirects are followed to HTTP addresses only, never to a file.
class XFileHTTPStream
{
public:
    explicit XFileHTTPStream(const NetLimits& limits = {}) : m_limits(limits) {}

    // Starts the time that NetLimits allows for one step anew. Open begins with it; what
    // is read and sought after it shares its time, until the next StartStep.
    void StartStep();

    // Closes what was open before. False when the input cannot be opened; for a stream,
    // OpenFault then says why.
    [[nodiscard]] bool Open(const wchar_t* name);

    void Close() noexcept;

    bool FromInterent() const noexcept { return m_fromInternet; }

    // Why the last Open failed, in words; empty when it did not, or was for a file.
    const XStr& OpenFault() const noexcept { return m_openFault; }

    // The local file; null when none is open.
    const XFileHandle& FileHandle() const noexcept { return m_file.Handle(); }

    // Size of the whole input in bytes; 0 when the server does not say.
    int64_t Size() const;

    // Whether SetPosition can be expected to work.
    bool IsSeekable() const noexcept;

    // In bytes from the start of the input.
    int64_t Position() const noexcept { return m_fromInternet ? m_position : m_file.Position(); }

    // Reads at the position, moves it and returns the number of bytes. Fewer than asked
    // for mean that the input has ended or failed; Fault tells which.
    [[nodiscard]] size_t Read(std::span<uint8_t> out);

    // Moves to a position from the start. False, with nothing changed, when the input
    // is not seekable, ends before that position or cannot be read from there.
    [[nodiscard]] bool SetPosition(int64_t position);

    // Why the last Read of a stream fell short; None when the stream had ended.
    StreamFault Fault() const noexcept;

private:
    std::unique_ptr<HttpTransfer> NewTransfer() const;
    StreamFault OpenStream(const wchar_t* name, int& status);
    StreamFault FollowRedirects(int& status);
    StreamFault Accept(const HttpHead& head);

    NetLimits m_limits;
    TcpSocket::Clock::time_point m_deadline; // of the present step
    XFile m_file;
    bool m_fromInternet = false;
    XStr m_openFault;

    std::unique_ptr<HttpTransfer> m_transfer; // null: closed, or at the end
    Url m_url;                                // where the data was found
    std::string m_entityTag;
    int64_t m_size = 0;
    bool m_servesRanges = false;
    int64_t m_position = 0; // in the stream
};

} // namespace aiff
