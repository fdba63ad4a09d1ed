// What the server takes from a head, the token and the log's view of it included.
#include "quon/transport/message/request_facts.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <utility>

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

TEST(RequestFacts, ReadTheFramingFromTheHead) {
    const struct {
        const char* requestLine;
        const char* fields;
        bool isChunked;
        std::uint64_t length;
        bool keepAlive;
    } rows[] = {
        {"POST / HTTP/1.1", "", false, 0, true},
        {"DELETE / HTTP/1.1", "Content-Length: 3\r\n", false, 3, true},
        {"POST / HTTP/1.1", "Content-Length: 18446744073709551615\r\n", false, 9223372036854775807U,
         true},
        {"POST / HTTP/1.1", "Transfer-Encoding: CHUNKED\r\n", true, 0, true},
        // Another reader could see another end of these requests.
        {"POST / HTTP/1.1", "Content-Length: 3\r\nTransfer-Encoding: chunked\r\n", true, 0, false},
        {"POST / HTTP/1.1", "Transfer-Encoding: gzip\r\n", false, 0, false},
        {"POST / HTTP/1.1", "Transfer-Encoding: xchunked\r\n", true, 0, false},
        {"POST / HTTP/1.0", "Transfer-Encoding: chunked\r\n", true, 0, false},
        {"get / HTTP/1.1", "Content-Length: 9\r\n", false, 0, false},
        {"TRACE / HTTP/1.1", "Transfer-Encoding: chunked\r\n", false, 0, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.requestLine) + " " + row.fields);
        const std::string head = std::string(row.requestLine) + "\r\n" + row.fields + "\r\n";
        RequestFacts facts;
        ASSERT_FALSE(ReadRequestFacts(Parse(head), facts));
        EXPECT_EQ(facts.bodyIsChunked, row.isChunked);
        EXPECT_EQ(facts.bodyLength, row.length);
        EXPECT_EQ(facts.keepAlive, row.keepAlive);
    }
}

TEST(RequestFacts, HoldAValidTokenOrAnEmptyOneAndNeverLogIt) {
    const std::pair<const char*, std::optional<std::string>> rows[] = {
        {"", std::nullopt},
        {"Authorization: Bearer abc.d-_\r\n", "abc.d-_"},
        {"aUTHORIZATION: bEARER   abc\r\n", "abc"},
        {"Authorization:\r\n", ""},
        {"Authorization: Bearer\r\n", ""},
        {"Authorization: secret\r\n", ""},
        {"Authorization: Basic secret\r\n", ""},
        {"Authorization: Bearerx secret\r\n", ""},
        {"Authorization: Bearer secret secret\r\n", ""},
        {"Proxy-Authorization: Bearer secret\r\nCookie: secret\r\n", std::nullopt},
        {"authorization: Bearer secret\r\nAUTHORIZATION: Bearer secret\r\n", ""},
    };
    for (const auto& [fields, token] : rows) {
        SCOPED_TRACE(fields);
        const std::string text = std::string("POST / HTTP/1.1\r\n") + fields + "\r\n";
        const Http1::RequestHead head = Parse(text);  // its views point into the text
        RequestFacts facts;
        ASSERT_FALSE(ReadRequestFacts(head, facts));
        EXPECT_EQ(facts.token, token);
        EXPECT_EQ(LoggableHead(head).find("secret"), std::string::npos);
    }
}

TEST(LoggableHead, OmitsOnlyTheCredentials) {
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
