// Serves the live page by HTTP on a loopback address.
#pragma once

#include "ctl/serve/gate.h"
#include "ctl/watch/host_watch.h"

#include <cstdint>
#include <memory>
#include <string>

namespace Ctl {

class PageServer {
  public:
    // Binds `address`, a loopback address without brackets; port 0 chooses a free one. Throws
    // Failure.
    PageServer(const std::string& address, std::uint16_t port, HostWatch& watch);
    ~PageServer();

    // "http://127.0.0.1:40123/?secret=...".
    std::string Url() const;
    // Serves until SIGINT, SIGTERM or SIGHUP arrives.
    void Run();

  private:
    class Connection;
    struct Parts;
    const std::unique_ptr<Parts> parts;
};

}  // namespace Ctl
