// The listening side of a framework service.
#pragma once

#include "platform/pellmar/object.h"
#include "platform/sys/owned_fd.h"

#include <string>
#include <vector>

namespace Pellmar::System {

class ServerSocket : public ObjectImpl {
  public:
    // Listens on `port` at every address that `host` resolves to; "localhost" is 127.0.0.1, ::1 and
    // what other loopback addresses the host's resolver knows for it. Accepted sockets have
    // TCP_NODELAY set. A family that the host lacks is no failure as long as one address works.
    // Throws InvalidArgumentException when the port is not in 1 to 65535, IOException with host,
    // port, address and reason when the name does not resolve or an address cannot be listened on;
    // then nothing is left open.
    void BindAndListen(const std::string& host, int port);

    // Ends the listening; nothing may use the descriptors any more.
    void Close() { listeners.clear(); }

    // Descriptors of the listening sockets, non-blocking, owned by this object.
    std::vector<int> GetDescriptors() const;
    std::string ToString() const override { return text; }

  private:
    std::vector<Sys::OwnedFd> listeners;
    std::string text = "server socket";
};

}  // namespace Pellmar::System
