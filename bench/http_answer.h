// Reads the answers that an upload gets: a status line and fields, no body (RFC 9112 section 4).
#pragma once

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace Bench {

struct Answer {
    int status = 0;
    std::size_t bytes = 0;  // of its head, the closing empty line included
    bool closes = false;    // the server will close the connection
};

// The answer at the start of `received`, or nothing while its head is not complete. Throws
// std::runtime_error when the head is no answer without a body.
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
    answer.closes = head.find("\r\nconnection: close\r\n") != std::string::npos;
    const bool hasNoBody =
        answer.status == 204 || head.find("\r\ncontent-length: 0\r\n") != std::string::npos;
    if (!hasNoBody) {
        throw std::runtime_error("an answer has a body, none was expected: " + head);
    }
    return answer;
}

}  // namespace Bench
