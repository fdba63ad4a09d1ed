// Error codes for invalid bytes on a connection. Errors of the socket itself use system codes.
#pragma once

#include <string>
#include <system_error>

namespace Quon::Transport::PicoHttp {

// The numbers are part of the contract; the fixed response to a bad head ends with the text.
enum class TransportError {
    HeadersParse = 1,
    ChunkParse = 2,
    Protocol = 3,
    ListenFailed = 4,
    InvalidRequest = 5,
    IncompleteBody = 6,
    HeadersTooLong = 7
};

// Of the category "quon Transport PicoHttp".
std::error_code make_error_code(TransportError error);

// For logs, such as "system:24 Too many open files".
std::string Describe(const std::error_code& error);

}  // namespace Quon::Transport::PicoHttp

template <>
struct std::is_error_code_enum<Quon::Transport::PicoHttp::TransportError> : std::true_type {};
