// Composes response heads (RFC 9112 section 4). The service's responses have no body.
#pragma once

#include "platform/pellmar/http/http_message.h"

#include <string>
#include <string_view>

namespace Pellmar::Http {

// Formats `headers` as field lines, to be copied into every response.
std::string HeaderBlock(const HeaderDefinitions& headers);

// The whole response: status line, Content-Length 0, `headerBlock`, Date, "Allow: POST" for a 405,
// and the field Connection with `connection` ("close" or "keep-alive") unless that is empty.
std::string ResponseText(const ResponseCode& code, std::string_view headerBlock,
                         std::string_view connection);

}  // namespace Pellmar::Http
