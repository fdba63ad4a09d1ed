// Serializes the response document of a call: the value or error in a JSON-RPC 2.0 envelope, or
// bare.
#pragma once

#include "platform/runtime/json/json_writer.h"
#include "platform/runtime/values/error_value.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace Quon::Protocol::Json {

// The text of a response, produced in pieces.
class ResponseDocument {
  public:
    ResponseDocument(std::string prefix, Data::DataValue value, std::string suffix);

    // Appends the next piece, of at least `wantedBytes`, or the rest to `piece`. Returns whether
    // anything is left; the call that returns false has appended the end. Throws std::bad_alloc and
    // whatever a ListSource throws, after which the document is unusable.
    bool Next(std::string& piece, std::size_t wantedBytes);

  private:
    std::string prefix;
    ValueWriter value;
    std::string suffix;
};

// Whether the document ends with a line feed, which the stream formats require.
enum class DocumentEnd { Nothing, LineFeed };

// {"jsonrpc":"2.0","id":<id>,"result":<value>} or {"jsonrpc":"2.0","id":<id>,"error":{"code":..,
// "message":..,"data":<error value>}}. `id` is JSON text.
class JsonApiResponseSerializer {
  public:
    static ResponseDocument Result(std::string_view id, Data::DataValue value, DocumentEnd end);
    // The code is the error value's integer field "code"; else `readerCode`, the JSON-RPC code of
    // an unreadable request; else -32601 for operation_not_found, -32602 for invalid_argument and
    // -32000 for other errors. The message is the field "message", else the default text of the
    // first message, else the error's name.
    static ResponseDocument Error(std::string_view id, const Data::ErrorValue& error,
                                  std::optional<int> readerCode, DocumentEnd end);
};

// The bare value or error value.
class JsonApiDirectResponseSerializer {
  public:
    static ResponseDocument Result(Data::DataValue value, DocumentEnd end);
    // {"error": <its name>, ...its fields}
    static ResponseDocument Error(const Data::ErrorValue& error, DocumentEnd end);
};

// {"error": <its name>, ...its fields}
Data::DataValue ToData(const Data::ErrorValue& error);

}  // namespace Quon::Protocol::Json
