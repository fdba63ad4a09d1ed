// Parses a JSON-RPC 2.0 request document into a service, an operation and parameters. Reads only
// the envelope; the parameters stay text until the call has been authorized.
#pragma once

#include "platform/runtime/values/error_value.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <variant>

namespace Quon::Protocol::Json {

// Longer methods do not exist and would only fill the audit log.
inline constexpr std::size_t kMaxMethodBytes = 256;
// Limits what the response repeats.
inline constexpr std::size_t kMaxIdBytes = 1024;

// Error codes of JSON-RPC 2.0, section 5.1.
inline constexpr int kParseError = -32700;
inline constexpr int kInvalidRequest = -32600;
inline constexpr int kInvalidParams = -32602;

struct JsonRequest {
    std::string id;  // JSON text: a string or number as the client wrote it
    std::string service;
    std::string operation;
    std::string parameters;  // JSON text, an object
};

struct JsonRequestError {
    std::string id = "null";  // JSON text; the request's id if it was readable
    int code = kInvalidRequest;
    Data::ErrorValue error;  // com.korvex.quon.std.errors.invalid_request
};

// Immutable; any thread.
class JsonApiRequestDeserializer {
  public:
    explicit JsonApiRequestDeserializer(std::size_t maxBytes) : maxBytes(maxBytes) {}

    // Parses a document of arbitrary bytes without building JSON values from it. Does not recurse;
    // uses no more memory than the text in addition to the result. "rpc.method" is split at its
    // last ".".
    std::variant<JsonRequest, JsonRequestError> Deserialize(std::string_view document) const;

  private:
    std::size_t maxBytes;
};

}  // namespace Quon::Protocol::Json
