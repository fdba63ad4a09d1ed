// What the server takes from a head, the token and the log's view of it included.
#include "quon/transport/request_facts.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace {

using Quon::Transport::PicoHttp::kCleanJson;
using Quon::Transport::PicoHttp::kCleanStreamJson;
using Quon::Transport::PicoHttp::kJson;
using Quon::Transport::PicoHttp::kStreamJson;
using Quon::Transport::PicoHttp::LoggableHead;
using Quon::Transport::PicoHttp::ReadRequestFacts;
using Quon::Transport::PicoHttp::RequestFacts;

Http1::RequestHead Parse(const std::string& head) {
    Http1::RequestHead parsed;
    EXPECT_TRUE(parsed.Parse(head)) << head;
    return parsed;
}

struct Framing {
    const char* name;
    const char* requestLine;
    const char* fields;
    bool isChunked;
    std::uint64_t length;
    bool keepAlive;
};

class Framings : public testing::TestWithParam<Framing> {};

TEST_P(Framings, AreReadFromTheHead) {
    const std::string head =
        std::string(GetParam().requestLine) + "\r\n" + GetParam().fields + "\r\n";
    RequestFacts facts;
    ASSERT_FALSE(ReadRequestFacts(Parse(head), facts));
    EXPECT_EQ(facts.bodyIsChunked, GetParam().isChunked);
    EXPECT_EQ(facts.bodyLength, GetParam().length);
    EXPECT_EQ(facts.keepAlive, GetParam().keepAlive);
}

INSTANTIATE_TEST_SUITE_P(
    RequestFacts, Framings,
    testing::Values(
        Framing{"none", "POST / HTTP/1.1", "", false, 0, true},
        Framing{"length", "PUT / HTTP/1.1", "content-LENGTH: 0012\r\n", false, 12, true},
        Framing{"equalLengths", "POST / HTTP/1.1", "Content-Length: 7\r\nContent-Length: 7\r\n",
                false, 7, true},
        Framing{"near64Bits", "POST / HTTP/1.1", "Content-Length: 18446744073709551615\r\n", false,
                9223372036854775807U, true},
        Framing{"chunks", "POST / HTTP/1.1", "Transfer-Encoding: CHUNKED\r\n", true, 0, true},
        Framing{"deleteWithoutLength", "DELETE / HTTP/1.1", "", false, 0, true},
        Framing{"deleteWithLength", "DELETE / HTTP/1.1", "Content-Length: 3\r\n", false, 3, true},
        Framing{"closeInAnyCase", "POST / HTTP/1.1", "CONNECTION: te, Close\r\n", false, 0, false},
        // Another reader could see another end of these requests.
        Framing{"both", "POST / HTTP/1.1", "Content-Length: 3\r\nTransfer-Encoding: chunked\r\n",
                true, 0, false},
        Framing{"otherCoding", "POST / HTTP/1.1", "Transfer-Encoding: gzip\r\n", false, 0, false},
        Framing{"unknownCoding", "POST / HTTP/1.1", "Transfer-Encoding: xchunked\r\n", true, 0,
                false},
        Framing{"oldVersion", "POST / HTTP/1.0", "Transfer-Encoding: chunked\r\n", true, 0, false},
        Framing{"getWithLength", "get / HTTP/1.1", "Content-Length: 9\r\n", false, 0, false},
        Framing{"traceWithChunks", "TRACE / HTTP/1.1", "Transfer-Encoding: chunked\r\n", false, 0,
                false}),
    [](const auto& row) { return row.param.name; });

struct Credentials {
    const char* name;
    const char* fields;
    std::optional<std::string> token;
};

class Tokens : public testing::TestWithParam<Credentials> {};

TEST_P(Tokens, AreCleanOrEmptyAndNeverLogged) {
    const std::string text = std::string("POST / HTTP/1.1\r\n") + GetParam().fields + "\r\n";
    const Http1::RequestHead head = Parse(text);  // its views point into the text
    RequestFacts facts;
    ASSERT_FALSE(ReadRequestFacts(head, facts));
    EXPECT_EQ(facts.token, GetParam().token);
    EXPECT_EQ(LoggableHead(head).find("secret"), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(
    RequestFacts, Tokens,
    testing::Values(Credentials{"none", "", std::nullopt},
                    Credentials{"clean", "Authorization: Bearer abc.d-_\r\n", "abc.d-_"},
                    Credentials{"anyCaseAndBlanks", "aUTHORIZATION: bEARER   abc\r\n", "abc"},
                    Credentials{"noValue", "Authorization:\r\n", ""},
                    Credentials{"noToken", "Authorization: Bearer\r\n", ""},
                    Credentials{"noScheme", "Authorization: secret\r\n", ""},
                    Credentials{"otherScheme", "Authorization: Basic secret\r\n", ""},
                    Credentials{"longerScheme", "Authorization: Bearerx secret\r\n", ""},
                    Credentials{"twoWords", "Authorization: Bearer secret secret\r\n", ""},
                    Credentials{"otherFields",
                                "Proxy-Authorization: Bearer secret\r\nCookie: secret\r\n",
                                std::nullopt},
                    Credentials{"twoFields",
                                "authorization: Bearer secret\r\nAUTHORIZATION: Bearer secret\r\n",
                                ""}),
    [](const auto& row) { return row.param.name; });

TEST(LoggableHead, IsAsSentButForTheCredentials) {
    EXPECT_EQ(LoggableHead(Parse("\r\nPOST /a?b HTTP/1.0\r\nHost:x\r\nauthorization:  Bearer "
                                 "secret \r\nX: Bearer\r\n\r\n")),
              "POST /a?b HTTP/1.0\r\nHost: x\r\nauthorization: 13\r\nX: Bearer\r\n");
}

struct Acceptance {
    const char* accept;
    unsigned format;
};

TEST(RequestFacts, ChooseTheResponseFormat) {
    for (const Acceptance& row :
         {Acceptance{"*/*", kJson}, Acceptance{"application/vnd.korvex.quon.framed", kJson},
          Acceptance{"APPLICATION/vnd.korvex.quon.cleanjson", kJson},
          Acceptance{"application/json, application/vnd.korvex.quon.cleanjson;q=0", kCleanJson},
          Acceptance{"application/vnd.korvex.quon.cframed.cleanjson", kJson},
          Acceptance{"application/vnd.korvex.quon.cleanjson\r\n"
                     "Accept: application/vnd.korvex.quon.stream.json",
                     kStreamJson},
          Acceptance{"application/vnd.korvex.quon.stream.json,"
                     "application/vnd.korvex.quon.clean.stream.json",
                     kCleanStreamJson}}) {
        RequestFacts facts;
        const std::string head =
            std::string("POST / HTTP/1.1\r\nAccept: ") + row.accept + "\r\n\r\n";
        ASSERT_FALSE(ReadRequestFacts(Parse(head), facts));
        EXPECT_EQ(facts.responseFormat, row.format) << row.accept;
    }
}

}  // namespace
