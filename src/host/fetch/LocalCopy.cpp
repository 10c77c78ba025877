// SPDX-License-Identifier: MIT
#include "host/fetch/LocalCopy.h"

#include "host/fetch/ScratchFile.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <curl/curl.h>
#include <unistd.h>

namespace aiff::host
{
namespace
{

constexpr long kConnectSeconds = 30;
constexpr long kSilenceSeconds = 60; // without a byte, then the transfer is given up
constexpr long kMaxRedirects = 20;
constexpr char kProtocols[] = "http,https";

// Takes the next bytes of the content; false when no more are wanted.
using Taker = std::function<bool(std::span<const char>)>;

struct Transfer {
    const Taker& taker;
    bool stopped = false; // by the taker
};

size_t TakeBody(const char* bytes, size_t size, size_t count, void* user)
{
    auto* const transfer = static_cast<Transfer*>(user);
    transfer->stopped = !transfer->taker({bytes, size * count});
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
    curl_easy_setopt(curl, CURLOPT_LOW_SPEED_LIMIT, 1L);
    curl_easy_setopt(curl, CURLOPT_LOW_SPEED_TIME, kSilenceSeconds);
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L); // there are threads
    curl_easy_setopt(curl, CURLOPT_USERAGENT, "aiffconv");
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, TakeBody);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, &transfer);
    curl_easy_setopt(curl, CURLOPT_ERRORBUFFER, error);
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
    Transfer transfer{taker};
    SetOptions(curl.get(), url, transfer, error.data());
    const CURLcode code = curl_easy_perform(curl.get());
    if (code == CURLE_OK || transfer.stopped)
        return {};
    return error[0] != '\0' ? error.data() : curl_easy_strerror(code);
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
        if (!taker(std::span(bytes).first(static_cast<size_t>(got))))
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
    const Taker taker = [&](std::span<const char> bytes) {
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

Result<std::vector<uint8_t>> FetchStart(const Input& input, size_t size)
{
    std::vector<uint8_t> start;
    const Problem problem = Fetch(input.Name(), [&](std::span<const char> bytes) {
        bytes = bytes.first(std::min(bytes.size(), size - start.size()));
        start.insert(start.end(), bytes.begin(), bytes.end());
        return start.size() < size;
    });
    if (problem && start.empty())
        return problem.About("cannot be fetched");
    return start;
}

} // namespace aiff::host
