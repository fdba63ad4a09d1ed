// Detects whether the client of a loopback connection still exists. The end of its stream proves
// nothing: a client may shut down its sending side after the request and wait for the response.
#pragma once

namespace Quon::Transport::PicoHttp {

// Whether no process has the other end of the connected `socket` open any more. False if that
// cannot be determined. Does not block; reads the host's table of TCP sockets once the stream has
// ended.
bool HasClientLeft(int socket);

}  // namespace Quon::Transport::PicoHttp
