// Parses the head of a response: a status line and fields (RFC 9112 section 4). The caller reads
// the body.
#pragma once

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace Bench {

struct Answer {
    int status = 0;
    std::size_t bytes = 0;      // of the head, including its closing empty line
    std::size_t bodyBytes = 0;  // unless chunked
    bool isChunked = false;
    bool isError = false;  // an API call ended with an error
    bool closes = false;   // the server will close the connection
};

// The response at the start of `received`; nothing while its head is incomplete. Throws
// std::runtime_error if it is not a response, or its body's framing is unknown.
inline std::optional<Answer> ReadAnswer(std::string_view received) {
    constexpr std::string_view kEnd = "\r\n\r\n";
    const std::size_t end = received.find(kEnd);
    if (end == std::string_view::npos) {
        return std::nullopt;
    }
    std::string head(received.substr(0, end + 2));
    const auto isDigit = [&](std::size_t at) {
        return std::isdigit(static_cast<unsigned char>(head[at])) != 0;
    };
    if (head.compare(0, 9, "HTTP/1.1 ") != 0 || head.size() < 14 || !isDigit(9) || !isDigit(10) ||
        !isDigit(11)) {
        throw std::runtime_error("this is no HTTP/1.1 answer: " + head.substr(0, 80));
    }
    std::transform(head.begin(), head.end(), head.begin(),
                   [](unsigned char byte) { return static_cast<char>(std::tolower(byte)); });
    Answer answer;
    answer.status = (head[9] - '0') * 100 + (head[10] - '0') * 10 + (head[11] - '0');
    answer.bytes = end + kEnd.size();
    const auto has = [&](const char* text) { return head.find(text) != std::string::npos; };
    answer.closes = has("\r\nconnection: close\r\n");
    answer.isError = has("\r\nquon-error: ");
    answer.isChunked = has("\r\ntransfer-encoding: chunked\r\n");
    constexpr std::string_view kLength = "\r\ncontent-length: ";
    if (const std::size_t length = head.find(kLength); length != std::string::npos) {
        (void)std::from_chars(head.data() + length + kLength.size(), head.data() + head.size(),
                              answer.bodyBytes);  // a wrong length shows in the body
    } else if (!answer.isChunked && answer.status != 204) {
        throw std::runtime_error("an answer does not tell how long it is: " + head);
    }
    return answer;
}

}  // namespace Bench
