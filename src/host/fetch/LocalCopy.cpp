// SPDX-License-Identifier: MIT
#include "host/fetch/LocalCopy.h"

#include "host/fetch/ScratchFile.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <curl/curl.h>
#include <unistd.h>
#include <vector>

namespace aiff::host
{
namespace
{

constexpr long kConnectSeconds = 30;
// A transfer that is slower for so long is given up.
constexpr long kLeastSpeed = 100; // bytes per second
constexpr long kSlowSeconds = 30;
constexpr long kMaxRedirects = 20;
constexpr char kProtocols[] = "http,https";

// Takes the next bytes of the content, whose whole size is -1 if unknown; false when no more are
// wanted.
using Taker = std::function<bool(std::span<const char>, int64_t whole)>;

struct Transfer {
    CURL* curl;
    const Taker& taker;
    bool stopped = false; // by the taker
};

size_t TakeBody(const char* bytes, size_t size, size_t count, void* user)
{
    auto* const transfer = static_cast<Transfer*>(user);
    curl_off_t whole = -1;
    curl_easy_getinfo(transfer->curl, CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &whole);
    transfer->stopped = !transfer->taker({bytes, size * count}, whole);
    return transfer->stopped ? 0 : size * count;
}

void SetOptions(CURL* curl, const std::string& url, Transfer& transfer, char* error)
{
    curl_easy_setopt(curl, CURLOPT_URL, url.c_str());
    curl_easy_setopt(curl, CURLOPT_PROTOCOLS_STR, kProtocols);
    curl_easy_setopt(curl, CURLOPT_REDIR_PROTOCOLS_STR, kProtocols);
    curl_easy_setopt(curl, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(curl, CURLOPT_MAXREDIRS, kMaxRedirects);
    curl_easy_setopt(curl, CURLOPT_FAILONERROR, 1L);
    curl_easy_setopt(curl, CURLOPT_ACCEPT_ENCODING, ""); // all that can be undone
    curl_easy_setopt(curl, CURLOPT_CONNECTTIMEOUT, kConnectSeconds);
    curl_easy_setopt(curl, CURLOPT_LOW_SPEED_LIMIT, kLeastSpeed);
    curl_easy_setopt(curl, CURLOPT_LOW_SPEED_TIME, kSlowSeconds);
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L); // there are threads
    curl_easy_setopt(curl, CURLOPT_USERAGENT, "aiffconv");
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, TakeBody);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, &transfer);
    curl_easy_setopt(curl, CURLOPT_ERRORBUFFER, error);
}

// In the words that decoders have for streams; libcurl's own for everything else.
std::string Reason(CURL* curl, CURLcode code, const char* details)
{
    long status = 0;
    switch (code) {
    case CURLE_URL_MALFORMAT:
        return "not a valid address";
    case CURLE_HTTP_RETURNED_ERROR:
        curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &status);
        return "the server answers with status " + std::to_string(status);
    case CURLE_PARTIAL_FILE:
    case CURLE_GOT_NOTHING:
        return "the connection ended before the data";
    case CURLE_RECV_ERROR:
        return "connection lost";
    case CURLE_OPERATION_TIMEDOUT:
        return "the server does not answer in time";
    case CURLE_WEIRD_SERVER_REPLY:
    case CURLE_OUT_OF_MEMORY: // for a header without end
        return "the server does not answer in proper HTTP";
    default:
        return details[0] != '\0' ? details : curl_easy_strerror(code);
    }
}

// Why not all bytes came that were wanted.
Problem Fetch(const std::string& url, const Taker& taker)
{
    static const CURLcode global = curl_global_init(CURL_GLOBAL_DEFAULT);
    const std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> curl(curl_easy_init(),
                                                                   curl_easy_cleanup);
    if (global != CURLE_OK || !curl)
        return "libcurl does not start";
    std::array<char, CURL_ERROR_SIZE> error{};
    Transfer transfer{curl.get(), taker};
    SetOptions(curl.get(), url, transfer, error.data());
    const CURLcode code = curl_easy_perform(curl.get());
    if (code == CURLE_OK || transfer.stopped)
        return {};
    return Reason(curl.get(), code, error.data());
}

Problem ReadStandardInput(const Taker& taker)
{
    constexpr size_t kPiece = 64 * 1024;
    std::array<char, kPiece> bytes;
    for (;;) {
        const ssize_t got = read(STDIN_FILENO, bytes.data(), bytes.size());
        if (got == 0)
            return {};
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            return Problem::FromErrno();
        if (!taker(std::span(bytes).first(static_cast<size_t>(got)), -1))
            return {};
    }
}

} // namespace

Result<LocalCopy> MakeLocalCopy(const Input& input, const ReceivedFunction& received)
{
    const Result<std::shared_ptr<ScratchFile>> file = ScratchFile::Make();
    if (!file)
        return file.Why();
    const std::string done = input.IsUrl() ? "fetched" : "read";
    Problem unwritten;
    const Taker taker = [&](std::span<const char> bytes, int64_t) {
        unwritten = (*file)->Append(bytes);
        if (!unwritten)
            received((*file)->Size());
        return !unwritten;
    };
    Problem problem = input.IsUrl() ? Fetch(input.Name(), taker) : ReadStandardInput(taker);
    if (unwritten)
        return unwritten;
    if (problem && (*file)->Size() == 0)
        return Problem("cannot be " + done + ": " + problem.Text());
    if (problem)
        problem = Problem("could not be " + done + " to its end: " + problem.Text());
    return LocalCopy{input.WithCopy((*file)->Path(), *file), std::move(problem)};
}

Problem FetchStart(const Input& input, size_t most, const EnoughFunction& isEnough)
{
    std::vector<uint8_t> start;
    const Problem problem = Fetch(input.Name(), [&](std::span<const char> bytes, int64_t whole) {
        bytes = bytes.first(std::min(bytes.size(), most - start.size()));
        start.insert(start.end(), bytes.begin(), bytes.end());
        return !isEnough(start, whole) && start.size() < most;
    });
    return problem.About("cannot be fetched");
}

} // namespace aiff::host
