// SPDX-License-Identifier: MIT

// Answers of a server, as bytes: whatever they are and however they are cut into
// pieces, reading them ends, stays inside its limits and gives the same result.

#include "Fuzz.h"
#include "http/ReadAnswer.h"
#include "support/net/Url.h"

using namespace aiff;

namespace
{

void CheckTarget(const std::string& reference)
{
    const Url base = {"host", 8080, "/a/b?c"};
    Url url;
    if (ResolveUrl(base, reference, url) != StreamFault::None)
        return;
    const std::string all = url.HostField() + url.target;
    Require(url.target.front() == '/' && url.port != 0 && !url.host.empty(), "a URL is whole");
    Require(std::all_of(all.begin(), all.end(), [](char c) { return c > ' ' && c < 0x7F; }),
            "nothing in a URL can break out of a request");
    Url again;
    Require(ParseUrl("http://" + url.HostField() + url.target, again) == StreamFault::None &&
                again.target == url.target && again.host == url.host && again.port == url.port,
            "a URL comes back as it was");
}

} // namespace

std::vector<Bytes> Seeds()
{
    std::vector<Bytes> seeds;
    for (const std::string answer :
         {"HTTP/1.1 200 OK\r\nContent-Length: 5\r\nAccept-Ranges: bytes\r\n\r\nhello",
          "HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 206 X\nContent-Range: bytes 2-9/10\n\n8 bytes!",
          "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n5;x=y\r\nhello\r\n0\r\nA:b\r\n\r\n",
          "HTTP/1.0 302 Found\r\nLocation: ../x%2e/./y?z#f\r\n\r\n",
          "HTTP/1.0 302 Found\r\nLocation: http://[::1]:81/a b\r\n\r\n"})
        seeds.push_back(Join({{3, 1}, Text(answer)}));
    return seeds;
}

size_t StructureAt(const Bytes& input)
{
    return input.size();
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 2)
        return 0;
    const std::span<const uint8_t> answer(data + 2, size - 2);
    const ReadResult whole = ReadAnswer(answer, size, 65536);
    const ReadResult pieces = ReadAnswer(answer, size_t{data[0]} + 1, size_t{data[1]} * 50 + 1);
    Require(whole.headFault == pieces.headFault && whole.bodyFault == pieces.bodyFault &&
                whole.body == pieces.body,
            "the pieces do not matter");
    Require(whole.after + pieces.after == 0, "nothing comes after the end");
    Require(whole.body.size() <= size, "a body is made of what arrived");
    if (whole.headFault == StreamFault::None && whole.head.contentLength >= 0)
        Require(whole.bodyFault == (std::ssize(whole.body) == whole.head.contentLength
                                        ? StreamFault::None
                                        : StreamFault::EndedEarly),
                "a body that differs from its length is noticed");
    CheckTarget(whole.head.location.value_or(std::string(answer.begin(), answer.end())));
    return 0;
}
