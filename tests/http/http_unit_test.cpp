// Addresses and answers, as texts: no network.

#include "support/AiffBuilder.h"
#include "support/HttpReader.h"
#include "support/HttpTransfer.h"

#include <gtest/gtest.h>

namespace
{

using F = StreamFault;

struct UrlCase {
    std::string address;
    const char* host; // null: refused
    int port = 80;
    const char* target = "/";
    const char* field = nullptr; // the Host field, when it is not the host
};

TEST(Url, IsTakenApartAndEncoded)
{
    const UrlCase cases[] = {
        {"http://example.org", "example.org"},
        {"HTTP://Example.org:/", "Example.org"},
        {"http://h:8080/a", "h", 8080, "/a", "h:8080"},
        {"http://[::1]:81/", "::1", 81, "/", "[::1]:81"},
        {"http://[fe80::1]/", "fe80::1", 80, "/", "[fe80::1]"},
        {"http://h?q=1", "h", 80, "/?q=1"},
        {"http://h#f", "h"},
        {"http://h/a%20b c%zz%4", "h", 80, "/a%20b%20c%25zz%254"},
        {"http://h/\xC3\xA4?\xC3\xB6=\"<>\"#x y", "h", 80, "/%C3%A4?%C3%B6=%22%3C%3E%22"},
        {"http://h/tab\there\x7F\\", "h", 80, "/tab%09here%7F%5C"},
        {"http://h/a/./b/../../c/..", "h", 80, "/"},
        {"http://h/../../x/.", "h", 80, "/x/"},
        {"http://h/a?b/../c", "h", 80, "/a?b/../c"},
        {"http://h/...//x", "h", 80, "/...//x"},
        {"http://", nullptr},
        {"http:///x", nullptr},
        {"http:/h/", nullptr},
        {"https://h/", nullptr},
        {"file:///etc/passwd", nullptr},
        {"http://user@h/", nullptr},
        {"http://h:0/", nullptr},
        {"http://h:65536/", nullptr},
        {"http://h:8o/", nullptr},
        {"http://h:99999999999999999999/", nullptr},
        {"http://[::1/", nullptr},
        {"http://[::1]x/", nullptr},
        {"http://[h]/", nullptr},
        {"http://h h/", nullptr},
        {"http://h\\x/", nullptr},
        {"http://h%0d/", nullptr},
        {"http://h/\r\nX: y", nullptr},
        {"http://h/\n", nullptr},
        {std::string("http://h/\0x", 11), nullptr},
        {"http://h/" + std::string(kMostUrlBytes, 'a'), nullptr},
    };
    for (const UrlCase& row : cases) {
        STUrl url;
        const bool isGood = ParseUrl(row.address, url);
        ASSERT_EQ(isGood, row.host != nullptr) << row.address;
        if (!isGood)
            continue;
        EXPECT_EQ(url.host, row.host) << row.address;
        EXPECT_EQ(url.nPort, row.port) << row.address;
        EXPECT_EQ(url.target, row.target) << row.address;
        EXPECT_EQ(url.HostField(), row.field != nullptr ? row.field : row.host);
    }
}

TEST(Url, RedirectsResolveAgainstTheirBase)
{
    struct Case {
        const char* reference;
        const char* result; // host field and target
        F fault = F::None;
    };
    const Case cases[] = {
        {"http://other:81/x", "other:81/x"},
        {"HTTP://other", "other/"},
        {"//other/x", "other/x"},
        {"/x?y", "h:8/x?y"},
        {"x", "h:8/a/b/x"},
        {"../x", "h:8/a/x"},
        {"./", "h:8/a/b/"},
        {"?z", "h:8/a/b/c?z"},
        {"", "h:8/a/b/c?q"},
        {"#f", "h:8/a/b/c?q"},
        {"a b\xE4", "h:8/a/b/a%20b%E4"},
        {"https://h/", "", F::RedirectElsewhere},
        {"file:///etc/passwd", "", F::RedirectElsewhere},
        {"FTP:x", "", F::RedirectElsewhere},
        {"http:x", "", F::RedirectElsewhere},
        {"http://", "", F::RedirectWithoutTarget},
        {"//user@h/", "", F::RedirectWithoutTarget},
        {"/x\rEvil: 1", "", F::RedirectWithoutTarget},
    };
    const STUrl base = {"h", 8, "/a/b/c?q"};
    for (const Case& row : cases) {
        STUrl url;
        EXPECT_EQ(ResolveUrl(base, row.reference, url), row.fault) << row.reference;
        if (row.fault == F::None) {
            EXPECT_EQ(url.HostField() + url.target, row.result) << row.reference;
        }
    }
}

TEST(HttpRequest, AsksForEverythingOrForTheRest)
{
    const std::string begin =
        "GET /x?y HTTP/1.1\r\nHost: h:8\r\nUser-Agent: aiff\r\nAccept: */*\r\n"
        "Accept-Encoding: identity\r\nConnection: close\r\n";
    const STUrl url = {"h", 8, "/x?y"};
    EXPECT_EQ(HttpRequest(url, {}), begin + "\r\n");
    EXPECT_EQ(HttpRequest(url, {0, ""}), begin + "Range: bytes=0-\r\n\r\n");
    EXPECT_EQ(HttpRequest(url, {7, "\"t\""}), begin + "Range: bytes=7-\r\nIf-Range: \"t\"\r\n\r\n");
    EXPECT_EQ(HttpRequest(url, {7, "W/\"t\""}), begin + "Range: bytes=7-\r\n\r\n");
}

// Delivers a text in pieces of at most one size, then ends or fails.
class TextSource : public ByteSource
{
public:
    TextSource(std::string text, size_t piece, F end)
        : m_text(std::move(text)), m_piece(piece), m_end(end)
    {
    }
    STTaken ReadSome(std::span<uint8_t> out) override
    {
        const size_t size = std::min({out.size(), m_text.size() - m_used, m_piece});
        std::copy_n(m_text.begin() + static_cast<ptrdiff_t>(m_used), size, out.begin());
        m_used += size;
        return {size, size != 0 ? F::None : m_end};
    }

private:
    std::string m_text;
    size_t m_used = 0;
    size_t m_piece;
    F m_end;
};

struct AnswerCase {
    const char* name;
    std::string answer;
    F headFault;
    std::string body = "";
    F bodyFault = F::None;
    F end = F::None;
};

constexpr const char* kOk = "HTTP/1.1 200 OK\r\n";

std::string Ok(const std::string& fieldsAndBody)
{
    return kOk + fieldsAndBody;
}
std::string Chunked(const std::string& body)
{
    return Ok("Transfer-Encoding: chunked\r\n\r\n" + body);
}

// A header that takes `size` bytes.
std::string HeadOf(size_t size)
{
    const std::string begin = Ok("Content-Length: 1\r\nX: ");
    return begin + std::string(size - begin.size() - 4, 'x') + "\r\n\r\n";
}

const AnswerCase kAnswers[] = {
    {"counted", Ok("Content-Length: 3\r\n\r\nabcdef"), F::None, "abc"},
    {"counted and cut", Ok("Content-Length: 5\r\n\r\nabc"), F::None, "abc", F::EndedEarly},
    {"counted and lost", Ok("Content-Length: 5\r\n\r\nabc"), F::None, "abc", F::ConnectionLost,
     F::ConnectionLost},
    {"until close", Ok("\r\nabc"), F::None, "abc"},
    {"until close, lost", Ok("\r\nabc"), F::None, "abc", F::IdleTimeout, F::IdleTimeout},
    {"nothing", Ok("Content-Length: 0\r\n\r\nabc"), F::None, ""},
    {"HTTP/1.0", "HTTP/1.0 200\r\n\r\nabc", F::None, "abc"},
    {"bare line feeds", "HTTP/1.1 200 OK\ncontent-length:3\n\nabc", F::None, "abc"},
    {"folded", Ok("X: y\r\n Content-Length: 9\r\nContent-Length:\r\n\t3\r\n\r\nabcd"), F::None,
     "abc"},
    {"blanks and no fields", Ok("rubbish\r\n:\r\nContent-LENGTH \t:\t3 \r\n\r\nabcd"), F::None,
     "abc"},
    {"one length twice", Ok("Content-Length: 3, 3\r\nContent-Length: 3\r\n\r\nabcd"), F::None,
     "abc"},
    {"interim", "HTTP/1.1 100 C\r\n\r\nHTTP/1.1 103 E\r\nContent-Length: 9\r\n\r\n" + Ok("\r\na"),
     F::None, "a"},
    {"chunked", Chunked("3\r\nabc\r\n0A;x=\"y\"\r\n0123456789\r\n1 \t\nz\n00\r\nT: u\r\n\r\nxx"),
     F::None, "abc0123456789z"},
    {"chunked beats counted",
     Ok("Content-Length: 2\r\nTransfer-Encoding: Chunked\r\n\r\n"
        "3\r\nabc\r\n0\r\n\r\n"),
     F::None, "abc"},
    {"chunk cut", Chunked("5\r\nabc"), F::None, "abc", F::EndedEarly},
    {"no last chunk", Chunked("3\r\nabc\r\n"), F::None, "abc", F::EndedEarly},
    {"last chunk cut", Chunked("3\r\nabc\r\n0"), F::None, "abc", F::EndedEarly},
    {"lost between chunks", Chunked("3\r\nabc\r\n"), F::None, "abc", F::ConnectionLost,
     F::ConnectionLost},
    {"no trailers' end", Chunked("3\r\nabc\r\n0\r\n"), F::None, "abc"},
    {"chunk without end", Chunked("3\r\nabcd\r\n"), F::None, "abc", F::BadResponse},
    {"chunk without size", Chunked("\r\nabc"), F::None, "", F::BadResponse},
    {"negative chunk", Chunked("-3\r\nabc"), F::None, "", F::BadResponse},
    {"chunk of letters", Chunked("3z\r\nabc"), F::None, "", F::BadResponse},
    {"huge chunk", Chunked("fffffffffffffffff\r\nabc"), F::None, "", F::BadResponse},
    {"endless chunk line", Chunked("3;" + std::string(70000, 'x')), F::None, "", F::BadResponse},
    {"endless chunk size", Chunked(std::string(70000, '0')), F::None, "", F::BadResponse},
    {"part with its length", "HTTP/1.1 206 P\r\nContent-Range: bytes 0-2/3\r\n\r\nabcd", F::None,
     "abc"},
    {"longest header", HeadOf(kMostHeadBytes) + "a", F::None, "a"},
    {"too long a header", HeadOf(kMostHeadBytes + 1) + "a", F::HeadTooLong},
    {"too many interim headers",
     [] {
         std::string all;
         for (int i = 0; i < 4000; ++i)
             all += "HTTP/1.1 100 C\r\n\r\n";
         return all + Ok("\r\na");
     }(),
     F::HeadTooLong},
    {"endless header", std::string(100000, 'x'), F::HeadTooLong},
    {"no header", "", F::EndedEarly},
    {"header cut", Ok("Content-Length: 3\r\n"), F::EndedEarly},
    {"header lost", Ok(""), F::IdleTimeout, "", F::None, F::IdleTimeout},
    {"no HTTP", "SSH-2.0-x\r\n\r\n", F::BadResponse},
    {"HTTP/2", "HTTP/2.0 200 OK\r\n\r\n", F::BadResponse},
    {"no status", "HTTP/1.1 OK\r\n\r\n", F::BadResponse},
    {"long status", "HTTP/1.1 2000 OK\r\n\r\n", F::BadResponse},
    {"zero byte", Ok(std::string("X: \0\r\n\r\n", 8)), F::BadResponse},
    {"two lengths", Ok("Content-Length: 3\r\nContent-Length: 4\r\n\r\nabcd"), F::BadResponse},
    {"negative length", Ok("Content-Length: -3\r\n\r\nabcd"), F::BadResponse},
    {"signed length", Ok("Content-Length: +3\r\n\r\nabcd"), F::BadResponse},
    {"no length", Ok("Content-Length: \r\n\r\nabcd"), F::BadResponse},
    {"huge length", Ok("Content-Length: 9223372036854775808\r\n\r\nabcd"), F::BadResponse},
    {"two places", Ok("Location: /a\r\nLocation: /b\r\n\r\n"), F::BadResponse},
    {"two ranges", Ok("Content-Range: bytes 0-1/2\r\nContent-Range: bytes 0-2/3\r\n\r\n"),
     F::BadResponse},
    {"compressed transfer", Ok("Transfer-Encoding: gzip, chunked\r\n\r\n"), F::UnknownCoding},
    {"chunked twice", Ok("Transfer-Encoding: chunked, chunked\r\n\r\n"), F::UnknownCoding},
    {"compressed content", Ok("Content-Encoding: gzip\r\n\r\n"), F::UnknownCoding},
};

TEST(HttpReader, GivesTheBodyOrTheReason)
{
    for (const AnswerCase& row : kAnswers) {
        for (const size_t piece : {1u, 2u, 3u, 7u, 4096u, 1000000u}) {
            for (const size_t step : {1u, 5u, 65536u}) {
                SCOPED_TRACE(std::string(row.name) + " in pieces of " + std::to_string(piece));
                TextSource source(row.answer, piece, row.end);
                HttpReader reader(source);
                STHttpHead head;
                ASSERT_EQ(reader.ReadHead(head), row.headFault);
                if (row.headFault != F::None)
                    continue;
                std::vector<uint8_t> part(step);
                std::string body;
                size_t count = 0;
                do {
                    count = reader.ReadBody(part);
                    body.append(part.begin(), part.begin() + static_cast<ptrdiff_t>(count));
                } while (count == step);
                EXPECT_EQ(body, row.body);
                EXPECT_EQ(reader.Fault(), row.bodyFault);
                EXPECT_EQ(reader.ReadBody(part), 0u) << "read on behind the end";
            }
        }
    }
}

TEST(HttpHead, TellsWhatSeekingNeeds)
{
    STHttpHead head;
    ASSERT_EQ(ParseHead(Ok("accept-ranges: none, Bytes\r\nETag: \"a:b\"\r\nLocation: x y \r\n"
                           "Content-Range: BYTES 5-9/10\r\nContent-Length: 5\r\n\r\n"),
                        head),
              F::None);
    EXPECT_TRUE(head.servesRanges);
    EXPECT_EQ(head.entityTag, "\"a:b\"");
    EXPECT_EQ(head.location, "x y");
    EXPECT_EQ(head.range, (STContentRange{5, 9, 10}));
    EXPECT_EQ(head.nContentLength, 5);
    for (const char* range :
         {"bytes */10", "bytes 5-4/10", "bytes 5-10/10", "bytes 5/10", "items 5-9/10", "bytes 5-9",
          "bytes -9/10", "bytes 5-99999999999999999999/*"}) {
        ASSERT_EQ(ParseHead(Ok("Content-Range: " + std::string(range) + "\r\n\r\n"), head),
                  F::None);
        EXPECT_FALSE(head.range.has_value()) << range;
    }
}

} // namespace
