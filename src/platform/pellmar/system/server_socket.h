// A socket that listens on all addresses of a host name.
#pragma once

#include "platform/pellmar/object.h"
#include "platform/sys/owned_fd.h"

#include <string>
#include <vector>

namespace Pellmar::System {

class ServerSocket : public ObjectImpl {
  public:
    // Listens on `port` at every address that `host` resolves to; "localhost" means 127.0.0.1, ::1
    // and the other loopback addresses that the host's resolver returns for it. Accepted sockets
    // have TCP_NODELAY set. An address family that the host lacks is ignored if another address
    // works. Throws InvalidArgumentException if the port is not in 1 to 65535, and IOException with
    // host, port, address and reason if the name does not resolve or listening on an address fails;
    // nothing stays open then.
    void BindAndListen(const std::string& host, int port);

    // Stops listening; the descriptors become invalid.
    void Close() { listeners.clear(); }

    // Descriptors of the listening sockets, non-blocking, owned by this object.
    std::vector<int> GetDescriptors() const;
    std::string ToString() const override { return text; }

  private:
    std::vector<Sys::OwnedFd> listeners;
    std::string text = "server socket";
};

}  // namespace Pellmar::System
