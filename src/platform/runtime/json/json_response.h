// The response document of a call: with the JSON-RPC 2.0 envelope around the value or the error, or
// bare.
#pragma once

#include "platform/runtime/json/json_writer.h"
#include "platform/runtime/values/error_value.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace Quon::Protocol::Json {

// The text of a response, produced piece by piece.
class ResponseDocument {
  public:
    ResponseDocument(std::string prefix, Data::DataValue value, std::string suffix);

    // Appends the next piece to `piece`: at least `wantedBytes`, or what is left. Returns whether
    // anything is left, so that the call that returns false has appended the end. Throws
    // std::bad_alloc, and what a ListSource throws: the document is of no use then.
    bool Next(std::string& piece, std::size_t wantedBytes);

  private:
    std::string prefix;
    ValueWriter value;
    std::string suffix;
};

// Whether the document ends with a line feed, as the stream formats have it.
enum class DocumentEnd { Nothing, LineFeed };

// {"jsonrpc":"2.0","id":<id>,"result":<value>} or {"jsonrpc":"2.0","id":<id>,"error":{"code":..,
// "message":..,"data":<error value>}}. `id` is JSON text.
class JsonApiResponseSerializer {
  public:
    static ResponseDocument Result(std::string_view id, Data::DataValue value, DocumentEnd end);
    // The code is the error value's integer field "code"; else `readerCode`, the JSON-RPC code of a
    // request that could not be read; else -32601 for operation_not_found, -32602 for
    // invalid_argument and -32000 for every other error. The message is its field "message", else
    // its first message's default text, else its name.
    static ResponseDocument Error(std::string_view id, const Data::ErrorValue& error,
                                  std::optional<int> readerCode, DocumentEnd end);
};

// The value or the error value alone.
class JsonApiDirectResponseSerializer {
  public:
    static ResponseDocument Result(Data::DataValue value, DocumentEnd end);
    // {"error": <its name>, ...its fields}
    static ResponseDocument Error(const Data::ErrorValue& error, DocumentEnd end);
};

// {"error": <its name>, ...its fields}
Data::DataValue ToData(const Data::ErrorValue& error);

}  // namespace Quon::Protocol::Json
