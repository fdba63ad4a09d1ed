#include "platform/runtime/json/json_request.h"

#include "platform/json/json_scanner.h"
#include "platform/json/object_members.h"

#include <optional>
#include <utility>
#include <vector>

namespace Quon::Protocol::Json {

namespace {

constexpr std::string_view kBlanks = " \t\n\r";
// What may precede a value, including a byte order mark.
constexpr std::string_view kBlanksAndMark = " \t\n\r\xEF\xBB\xBF";

// The texts of the envelope's member values; empty for missing members.
struct Envelope {
    std::string_view version;
    std::string_view method;
    std::string_view id;
    std::string_view parameters;
};

Envelope ReadEnvelope(std::string_view document) {
    Envelope envelope;
    ::Json::ObjectMembers members(document);
    std::string name;
    std::string_view value;
    while (members.Next(name, value)) {
        if (name == "jsonrpc") {
            envelope.version = value;
        } else if (name == "method") {
            envelope.method = value;
        } else if (name == "id") {
            envelope.id = value;
        } else if (name == "params") {
            envelope.parameters = value;
        }
    }
    return envelope;
}

bool IsString(std::string_view value) { return !value.empty() && value.front() == '"'; }
bool IsNumber(std::string_view value) {
    return !value.empty() && (value.front() == '-' || ::Json::IsDigit(value.front()));
}
bool IsObject(std::string_view value) { return !value.empty() && value.front() == '{'; }
bool IsEmptyList(std::string_view value) {
    return !value.empty() && value.front() == '[' &&
           value.find_first_not_of(kBlanks, 1) == value.size() - 1;
}

// Whether a JSON string decodes to at most `maxBytes`; one byte may be written as an escape of six.
bool IsWithin(std::size_t maxBytes, std::string_view quoted) {
    return quoted.size() <= 6 * maxBytes + 2 && ::Json::Unescape(quoted).size() <= maxBytes;
}

JsonRequestError Refuse(std::string id, int code, std::string_view messageId,
                        std::vector<std::string> args = {}) {
    return {std::move(id), code,
            Std::MakeError(Std::ErrorType::InvalidRequest,
                           {L10n::MakeMessage(messageId, std::move(args))})};
}

// Returns why the members are not a JSON-RPC 2.0 request; nothing if they are.
std::optional<JsonRequestError> FindProblem(const Envelope& envelope) {
    const bool hasId = IsString(envelope.id) || IsNumber(envelope.id);
    const bool hasShortId = hasId && envelope.id.size() <= kMaxIdBytes;
    const std::string id(hasShortId ? envelope.id : "null");
    if (!IsString(envelope.version) || ::Json::Unescape(envelope.version) != "2.0") {
        return Refuse(id, kInvalidRequest, "quon.request.version");
    }
    if (!IsString(envelope.method)) {
        return Refuse(id, kInvalidRequest, "quon.request.method");
    }
    if (!IsWithin(kMaxMethodBytes, envelope.method)) {
        return Refuse(id, kInvalidRequest, "quon.request.method.too.long",
                      {std::to_string(kMaxMethodBytes)});
    }
    if (!hasId) {
        return Refuse(id, kInvalidRequest, "quon.request.id");
    }
    if (!hasShortId) {
        return Refuse(id, kInvalidRequest, "quon.request.id.too.long",
                      {std::to_string(kMaxIdBytes)});
    }
    const std::string_view parameters = envelope.parameters;
    if (!parameters.empty() && !IsObject(parameters) && !IsEmptyList(parameters)) {
        return Refuse(id, kInvalidParams, "quon.request.params");
    }
    return std::nullopt;
}

JsonRequest ToRequest(const Envelope& envelope) {
    std::string method = ::Json::Unescape(envelope.method);
    const std::size_t dot = method.rfind('.');
    const bool hasService = dot != std::string::npos;
    return {std::string(envelope.id), hasService ? method.substr(0, dot) : std::string(),
            hasService ? method.substr(dot + 1) : std::move(method),
            std::string(IsObject(envelope.parameters) ? envelope.parameters : "{}")};
}

}  // namespace

std::variant<JsonRequest, JsonRequestError> JsonApiRequestDeserializer::Deserialize(
    std::string_view document) const {
    if (document.size() > maxBytes) {
        return Refuse("null", kParseError, "quon.request.exceeds.max.size");
    }
    if (auto fault =
            ::Json::FindFault(document, ::Json::Comments::Refused, ::Json::Root::AnyValue)) {
        const ::Json::JsonError error = ::Json::Locate(document, std::move(*fault));
        return Refuse("null", kParseError, "quon.request.not.json",
                      {std::to_string(error.line), std::to_string(error.column), error.Text()});
    }
    if (document[document.find_first_not_of(kBlanksAndMark)] != '{') {
        return Refuse("null", kInvalidRequest, "quon.request.not.an.object");
    }
    const Envelope envelope = ReadEnvelope(document);
    if (std::optional<JsonRequestError> problem = FindProblem(envelope)) {
        return std::move(*problem);
    }
    return ToRequest(envelope);
}

}  // namespace Quon::Protocol::Json
