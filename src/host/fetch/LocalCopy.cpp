#include "host/fetch/LocalCopy.h"

#include "host/fetch/TemporaryFile.h"

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

// A copy being made.
struct Copying {
    TemporaryFile& file;
    const ReceivedFunction& received;
    Problem problem = {}; // of the file

    bool Take(std::span<const char> bytes)
    {
        problem = file.Append(bytes);
        if (problem)
            return false;
        received(file.Size());
        return true;
    }
};

size_t TakeBody(const char* bytes, size_t size, size_t count, void* copying)
{
    return static_cast<Copying*>(copying)->Take({bytes, size * count}) ? size * count : 0;
}

void SetOptions(CURL* curl, const std::string& url, Copying& copying, char* error)
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
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, &copying);
    curl_easy_setopt(curl, CURLOPT_ERRORBUFFER, error);
}

Problem Fetch(const std::string& url, Copying& copying)
{
    static const CURLcode global = curl_global_init(CURL_GLOBAL_DEFAULT);
    const std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> curl(curl_easy_init(),
                                                                   curl_easy_cleanup);
    if (global != CURLE_OK || !curl)
        return "cannot be fetched: libcurl does not start";
    std::array<char, CURL_ERROR_SIZE> error{};
    SetOptions(curl.get(), url, copying, error.data());
    const CURLcode code = curl_easy_perform(curl.get());
    if (copying.problem || code == CURLE_OK)
        return copying.problem;
    return std::string("cannot be fetched: ") +
           (error[0] != '\0' ? error.data() : curl_easy_strerror(code));
}

Problem ReadStandardInput(Copying& copying)
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
            return "cannot be read: " + Problem::FromErrno().Text();
        if (!copying.Take(std::span(bytes).first(static_cast<size_t>(got))))
            return copying.problem;
    }
}

} // namespace

Result<LocalCopy> MakeLocalCopy(const Input& input, const ReceivedFunction& received)
{
    const Result<std::shared_ptr<TemporaryFile>> file = TemporaryFile::Make();
    if (!file)
        return file.Why();
    Copying copying{**file, received};
    Problem problem = input.IsUrl() ? Fetch(input.Name(), copying) : ReadStandardInput(copying);
    if (problem && (copying.problem || (*file)->Size() == 0))
        return problem;
    return LocalCopy{input.WithCopy((*file)->Path(), *file), std::move(problem)};
}

} // namespace aiff::host
