// Addresses and answers, as texts: no network.

#include "support/AiffBuilder.h"
#include "support/HttpReader.h"
#include "support/HttpTransfer.h"

#include <gtest/gtest.h>

namespace
{

using F = StreamFault;

TEST(Url, IsTakenApartAndEncoded)
{
    struct Case {
        const char* address;
        const char* result; // port, Host field and target
    };
    const Case cases[] = {
        {"http://example.org", "80 example.org/"},
        {"HTTP://Example.org:/", "80 Example.org/"},
        {"http://h:8080/a", "8080 h:8080/a"},
        {"http://[::1]:81/", "81 [::1]:81/"},
        {"http://[fe80::1]?q=1", "80 [fe80::1]/?q=1"},
        {"http://h#f", "80 h/"},
        {"http://h/a%20b c%zz%4", "80 h/a%20b%20c%25zz%254"},
        {"http://h/\xC3\xA4?\xC3\xB6=\"<>\"#x y", "80 h/%C3%A4?%C3%B6=%22%3C%3E%22"},
        {"http://h/tab\there\x7F\\", "80 h/tab%09here%7F%5C"},
        {"http://h/a/./b/../../c/..", "80 h/"},
        {"http://h/../../x/.", "80 h/x/"},
        {"http://h/a?b/../c", "80 h/a?b/../c"},
        {"http://h/...//x", "80 h/...//x"},
    };
    for (const Case& row : cases) {
        STUrl url;
        ASSERT_TRUE(ParseUrl(row.address, url)) << row.address;
        EXPECT_EQ(std::to_string(url.nPort) + " " + url.HostField() + url.target, row.result);
    }
}

TEST(Url, IsRefused)
{
    const std::string cases[] = {"http://",
                                 "http:///x",
                                 "http:/h/",
                                 "https://h/",
                                 "file:///etc/passwd",
                                 "http://user@h/",
                                 "http://h:0/",
                                 "http://h:65536/",
                                 "http://h:8o/",
                                 "http://h:99999999999999999999/",
                                 "http://[::1/",
                                 "http://[::1]x/",
                                 "http://[h]/",
                                 "http://h h/",
                                 "http://h\\x/",
                                 "http://h%0d/",
                                 "http://h/\r\nX: y",
                                 "http://h/\n",
                                 std::string("http://h/\0x", 11),
                                 "http://h/" + std::string(kMostUrlBytes, 'a')};
    STUrl url;
    for (const std::string& address : cases)
        EXPECT_FALSE(ParseUrl(address, url)) << address;
}

TEST(Url, RedirectsResolveAgainstTheirBase)
{
    struct Case {
        const char* reference;
        const char* result; // Host field and target
        F fault = F::None;
    };
    const Case cases[] = {
        {"HTTP://other:81", "other:81/"},
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
    for (const Case& row : cases) {
        STUrl url;
        EXPECT_EQ(ResolveUrl({"h", 8, "/a/b/c?q"}, row.reference, url), row.fault) << row.reference;
        if (row.fault == F::None) {
            EXPECT_EQ(url.HostField() + url.target, row.result) << row.reference;
        }
    }
}

// Delivers a text in pieces of at most one size, then ends or fails.
class TextSource : public ByteSource
{
public:
    TextSource(std::string_view text, size_t piece, F end)
        : m_left(text), m_piece(piece), m_end(end)
    {
    }
    STTaken ReadSome(std::span<uint8_t> out) override
    {
        const size_t size =
            m_left.copy(reinterpret_cast<char*>(out.data()), std::min(out.size(), m_piece));
        m_left.remove_prefix(size);
        return {size, size != 0 ? F::None : m_end};
    }

private:
    std::string_view m_left;
    size_t m_piece;
    F m_end;
};

std::string Ok(const std::string& rest)
{
    return "HTTP/1.1 200 OK\r\n" + rest;
}
std::string InChunks(const std::string& body)
{
    return Ok("Transfer-Encoding: chunked\r\n\r\n" + body);
}
// A header of so many bytes, before one byte of body.
std::string HeadOf(size_t size)
{
    return Ok("Content-Length: 1\r\nX: " + std::string(size - 43, 'x') + "\r\n\r\na");
}

// Reads an answer in every combination of what comes at a time and what is asked for.
void ExpectAnswer(const std::string& answer, F headFault, const std::string& body = "",
                  F bodyFault = F::None, F end = F::None)
{
    for (const size_t piece : {1u, 2u, 3u, 7u, 4096u, 1000000u}) {
        for (const size_t step : {1u, 5u, 65536u}) {
            SCOPED_TRACE(answer.substr(0, 200) + " in pieces of " + std::to_string(piece));
            TextSource source(answer, piece, end);
            HttpReader reader(source);
            STHttpHead head;
            ASSERT_EQ(reader.ReadHead(head), headFault);
            if (headFault != F::None)
                continue;
            Bytes part(step);
            std::string got;
            for (size_t count = step; count == step;) {
                count = reader.ReadBody(part);
                got.append(part.begin(), part.begin() + static_cast<ptrdiff_t>(count));
            }
            EXPECT_EQ(got, body);
            EXPECT_EQ(reader.Fault(), bodyFault);
            EXPECT_EQ(reader.ReadBody(part), 0u) << "read on behind the end";
        }
    }
}

TEST(HttpReader, GivesTheBodyOfProperAnswers)
{
    const std::string answers[] = {
        Ok("Content-Length: 3\r\n\r\nabcdef"),
        Ok("\r\nabc"),
        "HTTP/1.0 200\r\n\r\nabc",
        "HTTP/1.1 200 OK\ncontent-length:3\n\nabc",
        Ok("X: y\r\n Content-Length: 9\r\nContent-Length:\r\n\t3\r\n\r\nabcd"), // folded
        Ok("rubbish\r\n:\r\nContent-LENGTH \t:\t3 \r\n\r\nabcd"),
        Ok("Content-Length: 3, 3\r\nContent-Length: 3\r\n\r\nabcd"),
        "HTTP/1.1 100 C\r\n\r\nHTTP/1.1 103 E\r\nContent-Length: 9\r\n\r\n" + Ok("\r\nabc"),
        InChunks("2\r\nab\r\n01;x=\"y\"\r\nc\r\n00\r\nT: u\r\n\r\nxx"),
        InChunks("2 \t\nab\n1\nc\n0\r\n"),
        Ok("Content-Length: 2\r\nTransfer-Encoding: Chunked\r\n\r\n3\r\nabc\r\n0\r\n\r\n"),
        "HTTP/1.1 206 P\r\nContent-Range: bytes 0-2/3\r\n\r\nabcd",
    };
    for (const std::string& answer : answers)
        ExpectAnswer(answer, F::None, "abc");
    ExpectAnswer(HeadOf(kMostHeadBytes), F::None, "a");
    ExpectAnswer(Ok("Content-Length: 0\r\n\r\nabc"), F::None);
}

TEST(HttpReader, TellsWhyABodyEndsEarly)
{
    ExpectAnswer(Ok("\r\nabc"), F::None, "abc", F::IdleTimeout, F::IdleTimeout);
    ExpectAnswer(Ok("Content-Length: 5\r\n\r\nabc"), F::None, "abc", F::EndedEarly);
    ExpectAnswer(Ok("Content-Length: 5\r\n\r\nabc"), F::None, "abc", F::ConnectionLost,
                 F::ConnectionLost);
    for (const char* end : {"5\r\nabc", "3\r\nabc", "3\r\nabc\r\n", "3\r\nabc\r\n0"}) {
        ExpectAnswer(InChunks(end), F::None, "abc", F::EndedEarly);
        ExpectAnswer(InChunks(end), F::None, "abc", F::ConnectionLost, F::ConnectionLost);
    }
    const std::string wrong[] = {"d\r\n",
                                 "\r\nx\r\n",
                                 "\r\n\r\n",
                                 "\r\n-3\r\n",
                                 "\r\n3z\r\n",
                                 "\r\nfffffffffffffffff\r\n",
                                 "\r\n" + std::string(70000, '0'),
                                 "\r\n3;" + std::string(70000, 'x')};
    for (const std::string& next : wrong)
        ExpectAnswer(InChunks("3\r\nabc" + next), F::None, "abc", F::BadResponse);
}

TEST(HttpReader, RefusesImproperHeaders)
{
    std::string interims;
    for (int i = 0; i < 4000; ++i)
        interims += "HTTP/1.1 100 C\r\n\r\n";
    const std::pair<F, std::string> answers[] = {
        {F::HeadTooLong, HeadOf(kMostHeadBytes + 1)},
        {F::HeadTooLong, interims + Ok("\r\na")},
        {F::HeadTooLong, std::string(100000, 'x')},
        {F::EndedEarly, ""},
        {F::EndedEarly, Ok("Content-Length: 3\r\n")},
        {F::BadResponse, "SSH-2.0-x\r\n\r\n"},
        {F::BadResponse, "HTTP/2.0 200 OK\r\n\r\n"},
        {F::BadResponse, "HTTP/1.1 OK\r\n\r\n"},
        {F::BadResponse, "HTTP/1.1 2000 OK\r\n\r\n"},
        {F::BadResponse, Ok(std::string("X: \0\r\n\r\n", 8))},
        {F::BadResponse, Ok("Content-Length: 3\r\nContent-Length: 4\r\n\r\nabcd")},
        {F::BadResponse, Ok("Content-Length: -3\r\n\r\nabcd")},
        {F::BadResponse, Ok("Content-Length: +3\r\n\r\nabcd")},
        {F::BadResponse, Ok("Content-Length: \r\n\r\nabcd")},
        {F::BadResponse, Ok("Content-Length: 9223372036854775808\r\n\r\nabcd")},
        {F::BadResponse, Ok("Location: /a\r\nLocation: /b\r\n\r\n")},
        {F::BadResponse, Ok("Content-Range: bytes 0-1/2\nContent-Range: bytes 0-2/3\r\n\r\n")},
        {F::UnknownCoding, Ok("Transfer-Encoding: gzip, chunked\r\n\r\n")},
        {F::UnknownCoding, Ok("Transfer-Encoding: chunked, chunked\r\n\r\n")},
        {F::UnknownCoding, Ok("Content-Encoding: gzip\r\n\r\n")},
    };
    for (const auto& [fault, answer] : answers)
        ExpectAnswer(answer, fault);
}

TEST(HttpHead, TellsWhatSeekingNeeds)
{
    STHttpHead head;
    ASSERT_EQ(ParseHead(Ok("accept-ranges: none, Bytes\r\nETag: \"a:b\"\r\nLocation: x y \r\n"
                           "Content-Range: BYTES 5-9/*\r\nContent-Length: 5\r\n\r\n"),
                        head),
              F::None);
    EXPECT_TRUE(head.servesRanges);
    EXPECT_EQ(head.entityTag, "\"a:b\"");
    EXPECT_EQ(head.location, "x y");
    EXPECT_EQ(head.range, (STContentRange{5, 9, -1}));
    for (const char* range : {"bytes */10", "bytes 5-4/10", "bytes 5-10/10", "bytes 5/10",
                              "items 5-9/10", "bytes 5-9", "bytes -9/10", "bytes 5-1e9/*"}) {
        ASSERT_EQ(ParseHead(Ok("Content-Range: " + std::string(range) + "\n\n"), head), F::None);
        EXPECT_FALSE(head.range.has_value()) << range;
    }
}

} // namespace
