// Composes responses as bytes: the fixed ones, rejections, errors of the document reader, and
// heads. call_answer.h handles the responses to calls, which may be long.
#pragma once

#include "platform/runtime/json/json_request.h"
#include "platform/runtime/json/json_response.h"
#include "platform/runtime/values/localizer.h"
#include "quon/transport/message/request_facts.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace Quon::Transport::PicoHttp {

inline constexpr std::string_view kContinue = "HTTP/1.1 100 Continue\r\n\r\n";
inline constexpr std::string_view kExpectationFailed =
    "HTTP/1.1 417 Expectation Failed\r\nConnection: close\r\nContent-Length: 0\r\n\r\n";
// After the last chunk, without trailers.
inline constexpr std::string_view kLastChunk = "0\r\n\r\n";

// For a head that cannot be parsed. The error's text follows the end of the response, for people
// who look at the bytes.
std::string BadRequestResponse(const std::error_code& error);

// For a request that cannot be served; says why: an unsupported content type, a declared length
// over `maxBodyBytes`, or anything else.
std::string RejectedResponse(const RequestFacts& facts, std::size_t maxBodyBytes,
                             const L10n::Localizer& localizer);

// For a document that cannot be read.
std::string ReaderErrorResponse(const RequestFacts& facts,
                                const Protocol::Json::JsonRequestError& error);

// The head of the response to a call. `errorName` is empty for a result. Without `bodyLength` the
// body is chunked.
std::string OperationHead(const RequestFacts& facts, std::string_view errorName,
                          std::optional<std::size_t> bodyLength);

// Create the document in the response format (one bit) of the request; `id` is JSON text.
Protocol::Json::ResponseDocument ResultDocument(unsigned responseFormat, std::string_view id,
                                                Data::DataValue value);
Protocol::Json::ResponseDocument ErrorDocument(unsigned responseFormat, std::string_view id,
                                               const Data::ErrorValue& error,
                                               std::optional<int> readerCode);

}  // namespace Quon::Transport::PicoHttp
