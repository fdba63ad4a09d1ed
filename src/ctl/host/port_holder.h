// Who holds a port of this host, and whether what answers there may be believed.
#pragma once

#include "ctl/host/listening_sockets.h"
#include "ctl/show/failure.h"

#include <cstdint>
#include <string>
#include <vector>

#include <sys/socket.h>

namespace Ctl {

// "process 12 (nginx) of user www"; "a process of user www" when this user may not see which one.
std::string DescribeHolder(const std::vector<ListeningSocket>& sockets);

// The holder of a port, when this user can see that it is not sentrel; else empty.
std::string StrangerOn(std::uint16_t port);

// What is listening is another user's program.
class UntrustedListener : public Failure {
  public:
    using Failure::Failure;
};

// Throws UntrustedListener unless what listens at `peer`, to which a socket of this process is
// connected, belongs to root, to sentrel's user or to this user, who has all that could be sent
// there. Addresses that are not loopback are not looked at.
void RequireTrustedListener(const sockaddr_storage& peer);

}  // namespace Ctl
