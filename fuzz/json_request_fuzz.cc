// Parses a request document and aborts when a guarantee is violated: the library accepts every
// accepted document with the same content, its parameters can be converted and written again, and
// every response, even to a refused document, is JSON.
#include "checking.h"
#include "platform/runtime/json/json_request.h"
#include "platform/runtime/json/json_response.h"
#include "platform/runtime/json/value_reader.h"

#include <nlohmann/json.hpp>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

namespace {

using nlohmann::json;
using Quon::Protocol::Json::DocumentEnd;
using Quon::Protocol::Json::JsonApiRequestDeserializer;
using Quon::Protocol::Json::JsonApiResponseSerializer;
using Quon::Protocol::Json::JsonRequest;
using Quon::Protocol::Json::JsonRequestError;
using Quon::Protocol::Json::kParseError;
using Quon::Protocol::Json::ReadValue;
using Quon::Protocol::Json::ResponseDocument;

constexpr std::size_t kMaxBytes = 64 * 1024;

std::string WholeText(ResponseDocument document) {
    std::string text;
    while (document.Next(text, 1)) {
    }
    return text;
}

void CheckRequest(const JsonRequest& request, std::string_view document) {
    const json library = json::parse(document);
    const std::string method =
        request.service.empty() ? request.operation : request.service + "." + request.operation;
    Check(library.at("jsonrpc") == "2.0");
    Check(library.at("method") == method || library.at("method") == "." + method);
    Check(library.at("id") == json::parse(request.id));
    const json parameters = json::parse(request.parameters);
    const bool isGiven = library.contains("params") && library.at("params").is_object();
    Check(parameters.is_object() &&
          parameters == (isGiven ? library.at("params") : json::object()));

    const Quon::Data::DataValue value = ReadValue(request.parameters);
    Check(value.AsStructure()->Fields().size() == parameters.size());
    const json answer = json::parse(
        WholeText(JsonApiResponseSerializer::Result(request.id, value, DocumentEnd::LineFeed)));
    Check(answer.at("id") == library.at("id"));
}

void CheckError(const JsonRequestError& error, std::string_view document) {
    Check(error.id == "null" || document.find(error.id) != std::string_view::npos);
    const json answer = json::parse(WholeText(
        JsonApiResponseSerializer::Error(error.id, error.error, error.code, DocumentEnd::Nothing)));
    Check(answer.at("error").at("code") == error.code);
    Check(error.code != kParseError || error.id == "null");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view document(reinterpret_cast<const char*>(data), size);
    const auto read = JsonApiRequestDeserializer(kMaxBytes).Deserialize(document);
    if (const auto* request = std::get_if<JsonRequest>(&read)) {
        CheckRequest(*request, document);
    } else {
        CheckError(std::get<JsonRequestError>(read), document);
    }
    return 0;
}
