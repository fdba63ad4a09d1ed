// The bytes of a response head (RFC 9112 section 4). All responses of the service have no body.
#pragma once

#include "platform/pellmar/http/http_message.h"

#include <string>
#include <string_view>

namespace Pellmar::Http {

// `headers` as field lines, ready to be copied into every response.
std::string HeaderBlock(const HeaderDefinitions& headers);

// The whole response: status line, Content-Length 0, `headerBlock`, Date, "Allow: POST" with a 405,
// and a Connection field with the option `connection` ("close", "keep-alive") unless that is empty.
std::string ResponseText(const ResponseCode& code, std::string_view headerBlock,
                         std::string_view connection);

}  // namespace Pellmar::Http
