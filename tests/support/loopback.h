// Sockets on addresses of this host, given as text: "127.0.0.1", "::1".
#pragma once

#include "platform/sys/owned_fd.h"

#include <string>

namespace Test {

// Listens there, on a port that the kernel picks when it is 0. Throws std::system_error.
Sys::OwnedFd ListenAt(const std::string& address, int port = 0);
// The port of what ListenAt gave.
int PortOf(const Sys::OwnedFd& socket);
// Throws std::system_error when it is refused.
Sys::OwnedFd ConnectTo(const std::string& address, int port);

}  // namespace Test
