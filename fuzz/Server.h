// SPDX-License-Identifier: MIT

// A server's answers, made of a file.
#pragma once

#include "support/AiffBuilder.h"

#include <string_view>

// How it answers; bits.
enum Service : uint8_t {
    kRanges = 0x01,
    kChunked = 0x02,
    kRedirect = 0x04,
    kNoLength = 0x08,
    kBreaksOff = 0x10, // half-way through each answer
    kRaw = 0x20        // the file consists of the answers, with kNextAnswer between them
};
constexpr std::string_view kNextAnswer = "\n\n\n\n";

class Server
{
public:
    // The file must outlive the server.
    Server(uint8_t service, const Bytes& file) : m_service(service), m_file(file) {}

    Bytes operator()(const std::string& request)
    {
        if (Does(kRaw))
            return NextPart();
        if (Does(kRedirect) && !request.starts_with("GET /moved"))
            return Text("HTTP/1.0 302 Found\r\nLocation: /moved\r\n\r\n");
        const size_t range = request.find("Range: bytes="), size = m_file.size();
        const bool isPart = range != std::string::npos && Does(kRanges);
        const size_t first = isPart ? std::min(size, std::stoul(request.substr(range + 13))) : 0;
        std::string head = isPart ? "HTTP/1.1 206 Partial\r\nContent-Range: bytes " +
                                        std::to_string(first) + "-" + std::to_string(size - 1) +
                                        "/" + std::to_string(size) + "\r\n"
                                  : "HTTP/1.1 200 OK\r\n";
        head += Does(kRanges) ? "Accept-Ranges: bytes\r\n" : "";
        Bytes body = From(m_file, first);
        if (!Does(kChunked) && !Does(kNoLength))
            head += "Content-Length: " + std::to_string(body.size()) + "\r\n";
        body.resize(Sent(body.size()));
        return Does(kChunked) ? Chunks(head + "Transfer-Encoding: chunked\r\n\r\n", body)
                              : After(head + "\r\n", body.begin(), body.end());
    }

    bool TellsLength() const { return !Does(kChunked) && !Does(kNoLength); }
    // Bytes that come of an answer's body.
    size_t Sent(size_t size) const { return Does(kBreaksOff) ? size / 2 : size; }
    // Whether it is noticed that not all of them come.
    bool IsTorn(size_t size) const
    {
        return Does(kChunked) ? Does(kBreaksOff) : TellsLength() && Sent(size) < size;
    }

private:
    bool Does(Service what) const { return (m_service & what) != 0; }

    Bytes NextPart()
    {
        const auto start = m_file.begin() + std::min(m_next, std::ssize(m_file));
        const auto end = std::search(start, m_file.end(), kNextAnswer.begin(), kNextAnswer.end());
        m_next = end - m_file.begin() + std::ssize(kNextAnswer);
        return Bytes(start, end);
    }

    // Bodies are long: they are copied at one go.
    using Place = Bytes::const_iterator;
    static Bytes After(const std::string& head, Place start, Place end)
    {
        Bytes out(head.size() + static_cast<size_t>(end - start));
        std::copy(start, end, std::copy(head.begin(), head.end(), out.begin()));
        return out;
    }

    // In two parts.
    Bytes Chunks(std::string head, const Bytes& body) const
    {
        const Place middle = body.begin() + std::ssize(body) / 3;
        for (const auto& [start, end] : {std::pair(body.begin(), middle), {middle, body.end()}}) {
            char size[20];
            std::snprintf(size, sizeof size, "%tx;a=b\r\n", end - start);
            if (start != end)
                head.append(size).append(start, end).append("\r\n");
        }
        head += Does(kBreaksOff) ? "" : "0\r\n\r\n";
        return Text(head);
    }

    uint8_t m_service;
    const Bytes& m_file;
    ptrdiff_t m_next = 0; // of the answers
};
