// Bytes in, bytes out: what a client that sends a request and ends its side gets back, to the last
// byte.
#include "platform/runtime/json/json_request.h"
#include "platform/runtime/json/json_response.h"
#include "quon/transport/running_server.h"

#include <gtest/gtest.h>

#include <limits>
#include <ostream>
#include <sstream>
#include <string>
#include <string_view>

namespace {

using Quon::Protocol::Json::JsonApiRequestDeserializer;
using Quon::Protocol::Json::JsonApiResponseSerializer;
using Quon::Protocol::Json::JsonRequestError;
using Quon::Protocol::Json::ResponseDocument;
using ::Test::Document;
using ::Test::Post;

std::string Text(ResponseDocument document) {
    std::string text;
    while (document.Next(text, std::numeric_limits<std::size_t>::max())) {
    }
    return text;
}

std::string Hex(std::size_t number) {
    std::ostringstream text;
    text << std::hex << number;
    return text.str();
}

// The answer of a call in one chunk. `fields` are those between the framing and the server's.
std::string Chunked(std::string_view body, std::string_view fields =
                                               "Content-Type: application/json\r\n"
                                               "Connection: Keep-Alive\r\n") {
    return "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n" + std::string(fields) +
           "Server: quon-PicoHttp\r\n\r\n" + Hex(body.size()) + "\r\n" + std::string(body) +
           "\r\n0\r\n\r\n";
}

std::string Result(std::string_view value) {
    return R"({"jsonrpc":"2.0","id":1,"result":)" + std::string(value) + "}";
}

std::string Format(std::string_view mediaType) {
    return "Content-Type: " + std::string(mediaType) + "\r\nConnection: Keep-Alive\r\n";
}

std::string Rejection(const char* name, const char* messageId, std::string argument = {}) {
    const std::string message =
        Quon::L10n::MakeMessage(messageId, {std::move(argument)}).defaultMessage;
    std::string quoted;
    Quon::Protocol::Json::AppendString(message, quoted);
    const std::string fields = R"("code":400,"message":)" + quoted;
    const std::string body = R"({"jsonrpc":"2.0","id":null,"error":{)" + fields +
                             R"(,"data":{"error":")" + name + "\"," + fields + "}}}";
    return "HTTP/1.1 400 Bad Request\r\nContent-Length: " + std::to_string(body.size()) +
           "\r\nContent-Type: text/plain\r\nConnection: close\r\nServer: quon-PicoHttp\r\n\r\n" +
           body;
}

const std::string kInvalidRequest = Rejection("invalid_request", "quon.invalid.request");
const std::string kTooLong = Rejection("request_exceeds_max_size", "quon.request.exceeds.max.size");

std::string ReaderError(std::string_view document) {
    const auto error =
        std::get<JsonRequestError>(JsonApiRequestDeserializer(2'500'000).Deserialize(document));
    const std::string body = Text(JsonApiResponseSerializer::Error(
        error.id, error.error, error.code, Quon::Protocol::Json::DocumentEnd::Nothing));
    return "HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(body.size()) +
           "\r\nContent-Type: application/json\r\nConnection: Keep-Alive"
           "\r\nquon-error: com.korvex.quon.std.errors.invalid_request\r\n"
           "Server: quon-PicoHttp\r\n\r\n" +
           body;
}

std::string ErrorAnswer(const Quon::Data::ErrorValue& error) {
    return Chunked(Text(JsonApiResponseSerializer::Error(
                       "1", error, std::nullopt, Quon::Protocol::Json::DocumentEnd::Nothing)),
                   "Content-Type: application/json\r\nConnection: Keep-Alive\r\nquon-error: " +
                       error.Name() + "\r\n");
}

std::string BadHead(std::string_view text) {
    return "HTTP/1.1 400 Bad Request\r\nContent-Length: 0\r\nConnection: close\r\n"
           "Server: quon-PicoHttp\r\n\r\n" +
           std::string(text);
}

std::string Head(std::string_view fields) {
    return "POST /any?path HTTP/1.1\r\n" + std::string(fields) + "\r\n";
}

constexpr std::string_view kJsonType = "Content-Type: application/json\r\n";
constexpr std::string_view kChunks = "Transfer-Encoding: chunked\r\n";
constexpr std::string_view kClean = "application/vnd.korvex.quon.cleanjson";
constexpr std::string_view kStream = "application/vnd.korvex.quon.stream.json";
constexpr std::string_view kCleanStream = "application/vnd.korvex.quon.clean.stream.json";

std::string Accept(std::string_view value) { return "Accept: " + std::string(value) + "\r\n"; }

std::string JsonHead(std::string_view fields) {
    return Head(std::string(kJsonType) + std::string(fields));
}

std::string Chunk(std::string_view data) {
    return Hex(data.size()) + "\r\n" + std::string(data) + "\r\n";
}

const std::string kSize = Document("size");
const std::string kSizeAnswer = Chunked(Result("2"));
const std::string kClosing = "Content-Type: application/json\r\nConnection: close\r\n";
constexpr std::string_view kContinue = "HTTP/1.1 100 Continue\r\n\r\n";
constexpr std::string_view kNoExpectation =
    "HTTP/1.1 417 Expectation Failed\r\nConnection: close\r\nContent-Length: 0\r\n\r\n";

struct Row {
    std::string name;
    std::string request;
    std::string response;
};

void PrintTo(const Row& row, std::ostream* stream) { *stream << row.name; }

class Exchanges : public testing::TestWithParam<Row> {};

TEST_P(Exchanges, AreExact) {
    const ::Test::RunningServer server;
    EXPECT_EQ(server.Exchange(GetParam().request), GetParam().response);
}

std::vector<Row> ServedRows() {
    const std::string list = std::string(kClean) + ", " + std::string(kStream);
    const std::string large = Document("size", R"({"a":")" + std::string(2'400'000, 'x') + "\"}");
    const std::string failure = Document("fail");
    std::string chunked;
    for (const char byte : kSize) {
        chunked += Chunk(std::string_view(&byte, 1));
    }
    return {
        {"result", Post(kSize), kSizeAnswer},
        {"parameterOfTheMediaType",
         Head("Content-Type: application/json; charset=utf-8\r\nContent-Length: " +
              std::to_string(kSize.size()) + "\r\n") +
             kSize,
         kSizeAnswer},
        {"posted", Post(Document("post")), Chunked(Result("\"posted\""))},
        {"bare", Post(kSize, Accept(kClean)), Chunked("2", Format(kClean))},
        {"stream", Post(kSize, Accept(list)), Chunked(Result("2") + "\n", Format(kStream))},
        {"bareStream", Post(kSize, Accept(kCleanStream)), Chunked("2\n", Format(kCleanStream))},
        {"closes", Post(kSize, "Connection: Close\r\n") + Post(kSize),
         Chunked(Result("2"), kClosing)},
        {"error", Post(failure), ErrorAnswer(Quon::Std::MakeError(Quon::Std::ErrorType::NotFound))},
        {"unserializable", Post(Document("broken")),
         ErrorAnswer(Quon::Std::MakeError(
             Quon::Std::ErrorType::InternalServerError,
             {Quon::L10n::MakeMessage("quon.internal.error"),
              {"quon.result.serialization.failed", "the element is lost", {}}}))},
        {"readerErrorThenServed", Post("{") + Post(kSize), ReaderError("{") + kSizeAnswer},
        {"pipelined", Post(kSize) + Post(Document("post")) + "\r\n" + Post(kSize),
         kSizeAnswer + Chunked(Result("\"posted\"")) + kSizeAnswer},
        {"chunksOfOneByte", JsonHead(kChunks) + chunked + "0\r\nTrailer: x\r\n\r\n" + Post(kSize),
         kSizeAnswer + kSizeAnswer},
        {"continue", Post(kSize, "Expect: 100-CONTINUE\r\n") + Post(kSize),
         std::string(kContinue) + kSizeAnswer + kSizeAnswer},
        {"large", Post(large) + Post(kSize), Chunked(Result("2400008")) + kSizeAnswer},
        {"bothFramings",
         JsonHead(std::string(kChunks) + "Content-Length: 4\r\n") + Chunk(kSize) + "0\r\n\r\n" +
             Post(kSize),
         Chunked(Result("2"), kClosing)},
    };
}

INSTANTIATE_TEST_SUITE_P(Served, Exchanges, testing::ValuesIn(ServedRows()),
                         [](const auto& row) { return row.param.name; });

std::vector<Row> RefusedRows() {
    const std::string full(2'500'000, ' ');
    const std::string noType = Rejection("invalid_content_type", "quon.invalid.content.type");
    const std::string cleanType = "Content-Type: " + std::string(kClean) + "\r\n";
    return {
        {"otherProtocol", "\x16\x03\x01", BadHead("headers parse error")},
        {"cutHead", "POST / HTTP/1.1\r\nHost", BadHead("headers parse error")},
        {"longHead", "POST / HTTP/1.1\r\nX: " + std::string(16'384, 'x'),
         BadHead("http headers too long")},
        {"twoLengths", JsonHead("Content-Length: 5\r\nContent-Length: 6\r\n"),
         BadHead("invalid request")},
        {"listedLengths", JsonHead("Content-Length: 5,5\r\n") + "12345",
         BadHead("invalid request")},
        {"lengthBeyond64Bits", JsonHead("Content-Length: 18446744073709551616\r\n"),
         BadHead("invalid request")},
        {"expectation", Post(kSize, "Expect: 200-ok\r\n"), std::string(kNoExpectation)},
        {"noType", Head("Content-Length: 0\r\n"), noType},
        {"otherType", Head("Content-Type: text/\"plain\xFF\r\n"),
         Rejection("invalid_content_type", "quon.invalid.content.type", "text/\"plain\xFF")},
        {"cleanType", Head(cleanType), kInvalidRequest},
        {"longOfOtherType", Head(cleanType + "Content-Length: 3000000\r\n"), kTooLong},
        {"longDeclared",
         JsonHead("Expect: 100-continue\r\nContent-Length: 2500001\r\n") + full + full, kTooLong},
        {"longInChunks", JsonHead(kChunks) + Chunk(full) + Chunk("x"), kInvalidRequest},
        {"hugeChunk", JsonHead(kChunks) + "7fffffffffffffff\r\nabc", kInvalidRequest},
        {"originOfAWebPage", JsonHead("Origin: https://example.com\r\n"), kInvalidRequest},
        {"cutBody", JsonHead("Content-Length: 5\r\n") + "{", kInvalidRequest},
        {"cutChunks", JsonHead(kChunks) + Chunk(kSize), kInvalidRequest},
    };
}

INSTANTIATE_TEST_SUITE_P(Refused, Exchanges, testing::ValuesIn(RefusedRows()),
                         [](const auto& row) { return row.param.name; });

}  // namespace
