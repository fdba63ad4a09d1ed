// What can be wrong with the bytes on a connection, as error codes. What goes wrong with the socket
// itself has the codes of the system.
#pragma once

#include <string>
#include <system_error>

namespace Quon::Transport::PicoHttp {

// The numbers are part of the contract; the texts follow the fixed answer to a bad head.
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

// For a log: "system:24 Too many open files".
std::string Describe(const std::error_code& error);

}  // namespace Quon::Transport::PicoHttp

template <>
struct std::is_error_code_enum<Quon::Transport::PicoHttp::TransportError> : std::true_type {};
