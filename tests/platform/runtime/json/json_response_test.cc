// The documents that answer a call: envelope and bare, results and errors.
#include "platform/runtime/json/json_response.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

namespace {

using Quon::Data::DataValue;
using Quon::Data::ErrorValue;
using Quon::Data::StructureValue;
using Quon::L10n::MakeMessage;
using Quon::Protocol::Json::DocumentEnd;
using Quon::Protocol::Json::JsonApiDirectResponseSerializer;
using Quon::Protocol::Json::JsonApiResponseSerializer;
using Quon::Protocol::Json::ResponseDocument;
using Quon::Std::ErrorType;

// Read in pieces of `pieceBytes`, none of which but the last is shorter.
std::string Text(ResponseDocument document, std::size_t pieceBytes = 7) {
    std::string text;
    std::string piece;
    while (document.Next(piece, pieceBytes)) {
        EXPECT_GE(piece.size(), pieceBytes);
        text += std::exchange(piece, {});
    }
    return text + piece;
}

ErrorValue ErrorOfTheTransport() {
    StructureValue structure("invalid_request");
    structure.Add("code", DataValue(std::int64_t{400}));
    structure.Add("message", DataValue("No."));
    return ErrorValue(std::move(structure));
}

struct Row {
    ErrorValue error;
    std::optional<int> readerCode;
    const char* start;  // of the "error" member: code and message
};

TEST(JsonResponse, GivesEachErrorItsCodeAndMessage) {
    const Row rows[] = {
        {ErrorOfTheTransport(), -32700, R"({"code":400,"message":"No.",)"},
        {Quon::Std::MakeError(ErrorType::InvalidRequest), -32700,
         R"({"code":-32700,"message":"com.korvex.quon.std.errors.invalid_request",)"},
        {Quon::Std::MakeError(ErrorType::OperationNotFound, {MakeMessage("a"), MakeMessage("b")}),
         std::nullopt, R"({"code":-32601,"message":"a",)"},
        {Quon::Std::MakeError(ErrorType::InvalidArgument, {MakeMessage("a")}), std::nullopt,
         R"({"code":-32602,"message":"a",)"},
        {Quon::Std::MakeError(ErrorType::NotFound), std::nullopt,
         R"({"code":-32000,"message":"com.korvex.quon.std.errors.not_found",)"},
    };
    for (const Row& row : rows) {
        const std::string bare =
            Text(JsonApiDirectResponseSerializer::Error(row.error, DocumentEnd::Nothing));
        EXPECT_EQ(Text(JsonApiResponseSerializer::Error("null", row.error, row.readerCode,
                                                        DocumentEnd::Nothing)),
                  R"({"jsonrpc":"2.0","id":null,"error":)" + std::string(row.start) +
                      "\"data\":" + bare + "}}");
    }
}

TEST(JsonResponse, WritesAnErrorWithItsNameFirst) {
    EXPECT_EQ(
        Text(JsonApiDirectResponseSerializer::Error(
            Quon::Std::MakeError(ErrorType::InternalServerError, {{"an.id", "%1 \"x\"", {"y"}}}),
            DocumentEnd::Nothing)),
        R"({"error":"com.korvex.quon.std.errors.internal_server_error","messages":[)"
        R"({"id":"an.id","defaultMessage":"%1 \"x\"","args":["y"]}],)"
        R"("errorType":"INTERNAL_SERVER_ERROR"})");
    EXPECT_EQ(
        Text(JsonApiDirectResponseSerializer::Error(ErrorOfTheTransport(), DocumentEnd::LineFeed)),
        "{\"error\":\"invalid_request\",\"code\":400,\"message\":\"No.\"}\n");
}

}  // namespace
