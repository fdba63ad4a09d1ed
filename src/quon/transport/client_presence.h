// Whether the client of a loopback connection is still there. The end of its stream does not tell:
// a client that has sent all it has to say may end its side and wait for the answer.
#pragma once

namespace Quon::Transport::PicoHttp {

// Whether no process holds the other end of the connected `socket` any more. False where that
// cannot be found out. Does not wait; costs a walk over the host's TCP sockets once the stream has
// ended.
bool HasClientLeft(int socket);

}  // namespace Quon::Transport::PicoHttp
