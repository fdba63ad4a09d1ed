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
    // Binds `address` (of loopback, without brackets); port 0 is any free one. Throws Failure when
    // it cannot.
    PageServer(const std::string& address, std::uint16_t port, HostWatch& watch);
    ~PageServer();

    // "http://127.0.0.1:40123/?secret=...".
    std::string Url() const;
    // Until SIGINT, SIGTERM or SIGHUP.
    void Run();

  private:
    class Connection;
    struct Parts;
    const std::unique_ptr<Parts> parts;
};

}  // namespace Ctl
