// The JSON-RPC 2.0 request document: from its text to a service, an operation and parameters. Only
// the envelope is read here; the parameters stay text until the call has been let through.
#pragma once

#include "platform/runtime/values/error_value.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <variant>

namespace Quon::Protocol::Json {

// Longer methods are no operation of anybody and would only fill the audit log.
inline constexpr std::size_t kMaxMethodBytes = 256;
// An id comes back in the answer.
inline constexpr std::size_t kMaxIdBytes = 1024;

// The codes of JSON-RPC 2.0, section 5.1.
inline constexpr int kParseError = -32700;
inline constexpr int kInvalidRequest = -32600;
inline constexpr int kInvalidParams = -32602;

struct JsonRequest {
    std::string id;  // JSON text, a string or a number as the client wrote it
    std::string service;
    std::string operation;
    std::string parameters;  // JSON text, an object
};

struct JsonRequestError {
    std::string id = "null";  // JSON text; that of the request when it could be read
    int code = kInvalidRequest;
    Data::ErrorValue error;  // com.korvex.quon.std.errors.invalid_request
};

// Immutable; any thread.
class JsonApiRequestDeserializer {
  public:
    explicit JsonApiRequestDeserializer(std::size_t maxBytes) : maxBytes(maxBytes) {}

    // Reads a document that may be any bytes. Builds nothing from it; does not recurse; the memory
    // it needs beside the result is that of the text. "rpc.method" splits at its last ".".
    std::variant<JsonRequest, JsonRequestError> Deserialize(std::string_view document) const;

  private:
    std::size_t maxBytes;
};

}  // namespace Quon::Protocol::Json
