// Finds who holds a port of this host, and whether to trust its answers.
#pragma once

#include "ctl/host/listening_sockets.h"
#include "ctl/show/failure.h"

#include <cstdint>
#include <string>
#include <vector>

#include <sys/socket.h>

namespace Ctl {

// What to do about a stranger on the API's port: a daemon that runs tries to bind it every 5 s.
inline constexpr const char* kFreeApiPort =
    "end that process; sentrel, if it runs, binds the port within 5 s";

// "process 12 (nginx) of user www", or "a process of user www" if this user may not see which one.
std::string DescribeHolder(const std::vector<ListeningSocket>& sockets);

// The holder of a port, on any address, if this user can see that it is not sentrel; else empty.
std::string StrangerOn(std::uint16_t port);

// The port is held by another user's program.
class UntrustedListener : public Failure {
  public:
    using Failure::Failure;
};

// Throws UntrustedListener unless the listener at `peer`, to which a socket of this process is
// connected, belongs to root, to sentrel's user, or to this user, who already has all that could be
// sent. Does not check addresses outside loopback.
void RequireTrustedListener(const sockaddr_storage& peer);

}  // namespace Ctl
