// SPDX-License-Identifier: MIT

// Addresses and answers, as texts: no network.

#include "ReadAnswer.h"
#include "support/net/HttpTransfer.h"

#include <gtest/gtest.h>
#include <sstream>

using namespace aiff;

namespace
{

using F = StreamFault;
using namespace std::string_literals;

// The words of a list that a sign separates.
std::vector<std::string> Split(const std::string& list, char sign)
{
    std::vector<std::string> words;
    std::istringstream in(list);
    for (std::string word; std::getline(in, word, sign);)
        words.push_back(word);
    return words;
}

TEST(Url, IsTakenApartEncodedAndResolvedAgainstABase)
{
    // References, and what is to come of each: port, Host field and target.
    const std::vector<std::string> cases = Split(
        "http://example.org|80 example.org/|HTTP://Example.org:/|80 Example.org/|"
        "http://h:8080/a|8080 h:8080/a|http://[::1]:81/|81 [::1]:81/|http://h#f|80 h/|"
        "http://[fe80::1]?q=1|80 [fe80::1]/?q=1|http://h/a%20b c%zz%4|80 h/a%20b%20c%25zz%254|"
        "http://h/\xC3\xA4?\xC3\xB6=\"<>\"#x y|80 h/%C3%A4?%C3%B6=%22%3C%3E%22|"
        "http://h/tab\there\x7F\\|80 h/tab%09here%7F%5C|http://h/a/./b/../../c/..|80 h/|"
        "http://h/../../x/.|80 h/x/|http://h/a?b/../c|80 h/a?b/../c|http://h/...//x|80 h/...//x|"
        "//other/x|80 other/x|/x?y|8 h:8/x?y|x|8 h:8/a/b/x|../x|8 h:8/a/x|./|8 h:8/a/b/|"
        "?z|8 h:8/a/b/c?z||8 h:8/a/b/c?q|#f|8 h:8/a/b/c?q|a b\xE4|8 h:8/a/b/a%20b%E4",
        '|');
    const Url base = {"h", 8, "/a/b/c?q"};
    Url url;
    for (size_t i = 0; i < cases.size(); i += 2) {
        EXPECT_EQ(ParseUrl(cases[i], url) == F::None, cases[i].find("://") == 4) << cases[i];
        ASSERT_EQ(ResolveUrl(base, cases[i], url), F::None) << cases[i];
        EXPECT_EQ(std::to_string(url.port) + " " + url.HostField() + url.target, cases[i + 1]);
    }
    for (const char* elsewhere : {"https://h/", "file:///etc/passwd", "FTP:x", "http:/h/"})
        EXPECT_TRUE(ParseUrl(elsewhere, url) == F::BadName &&
                    ResolveUrl(base, elsewhere, url) == F::RedirectElsewhere)
            << elsewhere;
    std::vector<std::string> refused =
        Split("|/x|user@h/|h:0/|h:65536/|h:8o/|h:99999999999999999999/|[::1/|[::1]x/|[h]/|h h/|"
              "h\\x/|h%0d/|h/\r\nX: y|h/\n|h/\0x"s,
              '|');
    refused.push_back("h/" + std::string(kMostUrlBytes, 'a'));
    for (const std::string& rest : refused)
        EXPECT_TRUE(ParseUrl("http://" + rest, url) ==
                        (rest == "user@h/" ? F::UserInName : F::BadName) &&
                    ResolveUrl(base, "//" + rest, url) == F::RedirectWithoutTarget)
            << rest;
}

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
            const ReadResult result = ReadAnswer(Text(answer), piece, step, end);
            ASSERT_EQ(result.headFault, headFault);
            EXPECT_EQ(std::string(result.body.begin(), result.body.end()), body);
            EXPECT_EQ(result.bodyFault, bodyFault);
            EXPECT_EQ(result.after, 0u) << "read on after the end";
        }
    }
}

TEST(HttpReader, GivesTheBodyOfProperAnswers)
{
    for (const std::string& answer :
         {Ok("Content-Length: 3\r\n\r\nabcdef"), Ok("\r\nabc"), "HTTP/1.0 200\r\n\r\nabc"s,
          "HTTP/1.1 200 OK\ncontent-length:3\n\nabc"s,
          Ok("X: y\r\n Content-Length: 9\r\nContent-Length:\r\n\t3\r\n\r\nabcd"), // folded
          Ok("rubbish\r\n:\r\nContent-LENGTH \t:\t3 \r\n\r\nabcd"),
          Ok("Content-Length: 3, 3\r\nContent-Length: 3\r\n\r\nabcd"),
          "HTTP/1.1 100 C\r\n\r\nHTTP/1.1 103 E\r\nContent-Length: 9\r\n\r\n" + Ok("\r\nabc"),
          InChunks("2\r\nab\r\n01;x=\"y\"\r\nc\r\n00\r\nT: u\r\n\r\nxx"),
          InChunks("2 \t\nab\n1\nc\n0\r\n"),
          Ok("Transfer-Encoding: chunked\r\nTransfer-Encoding: identity, chunked\r\n\r\n3\r\nabc"
             "\r\n0\r\n"),
          Ok("Content-Length: 2\r\nTransfer-Encoding: Chunked\r\n\r\n3\r\nabc\r\n0\r\n\r\n"),
          "HTTP/1.1 206 P\r\nContent-Range: bytes 0-2/3\r\n\r\nabcd"s})
        ExpectAnswer(answer, F::None, "abc");
    ExpectAnswer(HeadOf(kMostHeadBytes), F::None, "a");
    ExpectAnswer("HTTP/1.1 100 C\r\n\r\n" + HeadOf(kMostHeadBytes - 18), F::None, "a");
    ExpectAnswer(Ok("Content-Length: 0\r\n\r\nabc"), F::None);
}

TEST(HttpReader, TellsWhyABodyEndsEarly)
{
    ExpectAnswer(Ok("\r\nabc"), F::None, "abc", F::IdleTimeout, F::IdleTimeout);
    for (const std::string& answer :
         {Ok("Content-Length: 5\r\n\r\nabc"), InChunks("5\r\nabc"), InChunks("3\r\nabc"),
          InChunks("3\r\nabc\r\n"), InChunks("3\r\nabc\r\n0")}) {
        ExpectAnswer(answer, F::None, "abc", F::EndedEarly);
        ExpectAnswer(answer, F::None, "abc", F::ConnectionLost, F::ConnectionLost);
    }
    const std::string zeros(70000, '0');
    for (const std::string& next : Split("d\r\n|x0\r\n\r\n|\r\n3\rabc\n|\r\n3;x\rabc\r\n|\r\nx\r\n|"
                                         "\r\n\r\n|\r\n-3\r\n|\r\n3z\r\n|\r\nfffffffffffffffff\r\n|"
                                         "\r\n" +
                                             zeros + "|\r\n3;" + zeros,
                                         '|'))
        ExpectAnswer(InChunks("3\r\nabc" + next), F::None, "abc", F::BadResponse);
}

TEST(HttpReader, RefusesImproperHeaders)
{
    std::string interims;
    for (int i = 0; i < 4000; ++i)
        interims += "HTTP/1.1 100 C\r\n\r\n";
    ExpectAnswer(HeadOf(kMostHeadBytes + 1), F::HeadTooLong);
    ExpectAnswer("HTTP/1.1 100 C\r\n\r\n" + HeadOf(kMostHeadBytes - 17), F::HeadTooLong);
    ExpectAnswer(interims + Ok("\r\na"), F::HeadTooLong);
    ExpectAnswer(std::string(100000, 'x'), F::HeadTooLong);
    ExpectAnswer("", F::EndedEarly);
    ExpectAnswer(Ok("Content-Length: 3\r\n"), F::EndedEarly);
    ExpectAnswer(Ok("X: \0\r\n\r\n"s), F::BadResponse);
    for (const char* start : {"SSH-2.0-x", "HTTP/2.0 200 OK", "HTTP/1.1 OK", "HTTP/1.1 2000 OK"})
        ExpectAnswer(start + "\r\n\r\n"s, F::BadResponse);
    for (const std::string& fields :
         Split("Content-Length: 3\r\nContent-Length: 4|Content-Length: -3|Content-Length: +3|"
               "Content-Length: |Content-Length: 9223372036854775808|"
               "Content-Range: bytes 0-1/2\nContent-Range: bytes 0-2/3",
               '|'))
        ExpectAnswer(Ok(fields + "\r\n\r\nabcd"), F::BadResponse);
    ExpectAnswer("HTTP/1.1 302 F\r\nLocation: /a\r\nLocation: /b\r\n\r\n", F::BadResponse);
    for (const char* field : {"Transfer-Encoding: gzip, chunked", "Content-Encoding: gzip"})
        ExpectAnswer(Ok(field + "\r\n\r\n"s), F::UnknownCoding);
}

TEST(HttpHead, TellsWhatSeekingNeeds)
{
    HttpHead head;
    ASSERT_EQ(ParseHead(Ok("accept-ranges: none, Bytes\r\nETag: \"a:b\" \r\nContent-Length: 5\r\n"
                           "Content-Range: BYTES 5-9/*\r\nContent-Range: bytes 5-9/*\r\n\r\n"),
                        head),
              F::None);
    EXPECT_TRUE(head.servesRanges);
    EXPECT_EQ(head.entityTag, "\"a:b\"");
    EXPECT_EQ(head.range, (ContentRange{5, 9, -1}));
    const std::string all = "HTTP/1.1 206 P\nContent-Range: bytes 0-9223372036854775807/*\n\n";
    EXPECT_TRUE(ParseHead(all, head) == F::None && head.contentLength == INT64_MAX);
    for (const std::string& range : Split("bytes */10|bytes 5-4/10|bytes 5-10/10|bytes 5/10|"
                                          "items 5-9/10|bytes 5-9|bytes -9/10|bytes 5-1e9/*",
                                          '|')) {
        ASSERT_EQ(ParseHead(Ok("Content-Range: " + range + "\n\n"), head), F::None);
        EXPECT_FALSE(head.range.has_value()) << range;
    }
}

} // namespace
