#include "platform/runtime/json/json_response.h"

#include "platform/runtime/json/json_request.h"

#include <cstdint>
#include <utility>

namespace Quon::Protocol::Json {

namespace {

using Data::DataValue;
using Data::ErrorValue;
using Data::StructureValue;

constexpr std::int64_t kMethodNotFound = -32601;  // JSON-RPC 2.0, section 5.1
constexpr std::int64_t kOtherError = -32000;

std::string Ending(DocumentEnd end) { return end == DocumentEnd::LineFeed ? "\n" : ""; }

std::string Opening(std::string_view id) { return R"({"jsonrpc":"2.0","id":)" + std::string(id); }

std::int64_t CodeOf(const ErrorValue& error, std::optional<int> readerCode) {
    const DataValue* code = error.Structure().Find("code");
    if (code != nullptr && code->As<std::int64_t>() != nullptr) {
        return *code->As<std::int64_t>();
    }
    if (readerCode) {
        return *readerCode;
    }
    if (error.Name() == Std::ErrorName(Std::ErrorType::OperationNotFound)) {
        return kMethodNotFound;
    }
    const bool isInvalid = error.Name() == Std::ErrorName(Std::ErrorType::InvalidArgument);
    return isInvalid ? kInvalidParams : kOtherError;
}

// The text field of that name; null if it is absent or not a text.
const std::string* FindText(const StructureValue& structure, std::string_view field) {
    const DataValue* value = structure.Find(field);
    return value != nullptr ? value->As<std::string>() : nullptr;
}

std::string MessageOf(const ErrorValue& error) {
    if (const std::string* message = FindText(error.Structure(), "message")) {
        return *message;
    }
    const DataValue* messages = error.Structure().Find("messages");
    const Data::ListValue* list = messages != nullptr ? messages->AsList() : nullptr;
    if (list != nullptr && !list->empty()) {
        const StructureValue* first = list->front().AsStructure();
        const std::string* text = first != nullptr ? FindText(*first, "defaultMessage") : nullptr;
        if (text != nullptr) {
            return *text;
        }
    }
    return error.Name();
}

}  // namespace

ResponseDocument::ResponseDocument(std::string prefix, DataValue value, std::string suffix)
    : prefix(std::move(prefix)), value(std::move(value)), suffix(std::move(suffix)) {}

bool ResponseDocument::Next(std::string& piece, std::size_t wantedBytes) {
    const std::size_t wantedSize = wantedBytes < piece.max_size() - piece.size()
                                       ? piece.size() + wantedBytes
                                       : piece.max_size();
    piece += std::exchange(prefix, {});
    if (piece.size() >= wantedSize || value.Next(piece, wantedSize - piece.size())) {
        return true;
    }
    piece += std::exchange(suffix, {});
    return false;
}

ResponseDocument JsonApiResponseSerializer::Result(std::string_view id, DataValue value,
                                                   DocumentEnd end) {
    return {Opening(id) + R"(,"result":)", std::move(value), "}" + Ending(end)};
}

ResponseDocument JsonApiResponseSerializer::Error(std::string_view id, const ErrorValue& error,
                                                  std::optional<int> readerCode, DocumentEnd end) {
    StructureValue fields;
    fields.Add("code", DataValue(CodeOf(error, readerCode)));
    fields.Add("message", DataValue(MessageOf(error)));
    fields.Add("data", ToData(error));
    return {Opening(id) + R"(,"error":)", DataValue(std::move(fields)), "}" + Ending(end)};
}

ResponseDocument JsonApiDirectResponseSerializer::Result(DataValue value, DocumentEnd end) {
    return {{}, std::move(value), Ending(end)};
}

ResponseDocument JsonApiDirectResponseSerializer::Error(const ErrorValue& error, DocumentEnd end) {
    return {{}, ToData(error), Ending(end)};
}

DataValue ToData(const ErrorValue& error) {
    StructureValue structure(error.Name());
    structure.Add("error", DataValue(error.Name()));
    for (const Data::FieldValue& field : error.Structure().Fields()) {
        structure.Add(field.name, field.value);
    }
    return DataValue(std::move(structure));
}

}  // namespace Quon::Protocol::Json
