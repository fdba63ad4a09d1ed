#include "platform/pellmar/http/http_response_text.h"

#include <array>
#include <ctime>

namespace Pellmar::Http {

namespace {

// The Date field line (RFC 9110 section 5.6.7), which each thread formats once a second.
std::string_view DateLine() {
    thread_local std::array<char, 48> line{};
    thread_local std::size_t length = 0;
    thread_local std::time_t shown = -1;
    const std::time_t now = std::time(nullptr);
    if (now != shown) {
        std::tm utc{};
        (void)gmtime_r(&now, &utc);
        length =
            std::strftime(line.data(), line.size(), "Date: %a, %d %b %Y %H:%M:%S GMT\r\n", &utc);
        shown = now;
    }
    return {line.data(), length};
}

}  // namespace

std::string HeaderBlock(const HeaderDefinitions& headers) {
    std::string block;
    for (const auto& [name, value] : headers) {
        block += name;
        block += ": ";
        block += value;
        block += "\r\n";
    }
    return block;
}

std::string ResponseText(const ResponseCode& code, std::string_view headerBlock,
                         std::string_view connection) {
    std::string text;
    text.reserve(256);
    text += "HTTP/1.1 ";
    text += std::to_string(code.status);
    text += ' ';
    text += code.reason;
    text += "\r\nContent-Length: 0\r\n";
    text += headerBlock;
    text += DateLine();
    if (code.status == ResponseCode::MethodNotAllowed.status) {
        text += "Allow: POST\r\n";
    }
    if (!connection.empty()) {
        text += "Connection: ";
        text += connection;
        text += "\r\n";
    }
    text += "\r\n";
    return text;
}

}  // namespace Pellmar::Http
