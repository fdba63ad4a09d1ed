// Request documents as tables: what is read from the good ones, which code, id and message the
// others get.
#include "platform/runtime/json/json_request.h"

#include "platform/runtime/json/json_writer.h"
#include "platform/runtime/json/value_reader.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <variant>

namespace {

using Quon::Protocol::Json::JsonApiRequestDeserializer;
using Quon::Protocol::Json::JsonRequest;
using Quon::Protocol::Json::JsonRequestError;

constexpr std::size_t kMaxBytes = 10000;

// "ID SERVICE|OPERATION PARAMS", or "ID CODE MESSAGE" up to the first full stop of the message.
std::string Outcome(std::string_view document) {
    const auto read = JsonApiRequestDeserializer(kMaxBytes).Deserialize(document);
    if (const auto* request = std::get_if<JsonRequest>(&read)) {
        return request->id + " " + request->service + "|" + request->operation + " " +
               request->parameters;
    }
    const auto& error = std::get<JsonRequestError>(read);
    const std::string text = error.error.ToString();
    const std::string name = "com.korvex.quon.std.errors.invalid_request: ";
    EXPECT_EQ(text.substr(0, name.size()), name);
    const std::string message = text.substr(name.size());
    return error.id + " " + std::to_string(error.code) + " " +
           message.substr(0, message.find(". "));
}

std::string Envelope(const std::string& id, const std::string& rest) {
    return R"({"jsonrpc":"2.0","id":)" + id + "," + rest + "}";
}

TEST(JsonRequest, ParsesTheEnvelope) {
    const std::string longId = '"' + std::string(1022, 'x') + '"';
    const std::string longMethod(256, 'm');
    const std::pair<std::string, std::string> rows[] = {
        {R"({"jsonrpc":"2.0","id":1.50,"method":"a.b.list","params":{ "x" : [1,{"y":"}"}]} })",
         R"(1.50 a.b|list { "x" : [1,{"y":"}"}]})"},
        {Envelope(R"("\u0041\"")", R"("method":"list")"), R"("\u0041\"" |list {})"},
        {Envelope("-1E+2", R"("method":"a.","params":[ ])"), "-1E+2 a| {}"},
        {Envelope("0", R"("method":"")"), "0 | {}"},
        {"\xEF\xBB\xBF \n{ \"params\"\t:\r{ } , \"\\u006dethod\" : \"\\u0061.\\ud83d\\ude00\\n\" ,"
         "\"id\":7 , \"jsonrpc\":\"\\u0032.0\"\n}\n",
         "7 a|\U0001F600\n { }"},
        {Envelope("1", R"("id":2,"method":"x","method":"a.b","params":7,"params":{},"more":[{}])"),
         "2 a|b {}"},  // the last of equal names
        {Envelope(longId, R"("method":"a.b")"), longId + " a|b {}"},
        {Envelope("1", "\"method\":\"" + longMethod + "\""), "1 |" + longMethod + " {}"},
    };
    for (const auto& [document, outcome] : rows) {
        EXPECT_EQ(Outcome(document), outcome) << document;
    }
}

TEST(JsonRequest, RefusesWithTheIdTheCodeAndTheReason) {
    const std::string noId = "The request has no valid id";
    const std::string noVersion = "The request is not marked as JSON-RPC 2.0";
    const std::string noMethod = "The request names no operation";
    const std::string noObject = "The request is not a JSON object";
    const std::string noParams = "The member \"params\" is not an object";
    const std::string method = R"("method":"a.b")";
    const std::pair<std::string, std::string> rows[] = {
        {"",
         "null -32700 The request is not JSON: at line 1, column 1, the text ends where a value "
         "is expected"},
        {std::string(kMaxBytes, '['),
         "null -32700 The request is not JSON: at line 1, column 257, nested deeper than 256 "
         "levels"},
        {std::string(kMaxBytes + 1, ' '),
         "null -32700 The request is larger than this server accepts"},
        {"null", "null -32600 " + noObject},
        {" \"{\"", "null -32600 " + noObject},
        {"[" + Envelope("1", method) + "]", "null -32600 " + noObject},
        {R"({"id":3,"method":"a.b"})", "3 -32600 " + noVersion},
        {R"({"jsonrpc":"1.0","id":"s","method":"a.b"})", R"("s" -32600 )" + noVersion},
        {Envelope("3", R"("params":{})"), "3 -32600 " + noMethod},
        {Envelope("3", R"("method":["a.b"])"), "3 -32600 " + noMethod},
        {Envelope("3", "\"method\":\"" + std::string(257, 'm') + "\""),
         "3 -32600 The member \"method\" is longer than 256 bytes"},
        {R"({"jsonrpc":"2.0","method":"a.b"})", "null -32600 " + noId},
        {Envelope("null", method), "null -32600 " + noId},
        {Envelope("[1]", method + R"(,"params":1)"), "null -32600 " + noId},
        {Envelope('"' + std::string(1023, 'x') + '"', method),
         "null -32600 The member \"id\" is longer than 1024 bytes"},
        {Envelope("3", method + R"(,"params":[1])"), "3 -32602 " + noParams},
        {Envelope("\"s\"", method + R"(,"params":"{}")"), "\"s\" -32602 " + noParams},
    };
    for (const auto& [document, outcome] : rows) {
        EXPECT_EQ(Outcome(document), outcome) << document;
    }
}

}  // namespace
