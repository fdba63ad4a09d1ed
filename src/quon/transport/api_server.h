// The HTTP server of the API: its two listeners. What happens on a connection is connection.h, how
// many there are is connection_table.h.
#pragma once

#include "platform/runtime/call/call.h"
#include "platform/runtime/call/logger.h"
#include "quon/transport/server_configuration.h"

#include <cstdint>
#include <memory>

namespace boost::asio {
class io_context;
}

namespace Quon::Transport::PicoHttp {

class ConnectionTable;
class Listener;
struct ConnectionServices;

// Plain HTTP. Runs on the one thread of the I/O context, without locks. Made, started and destroyed
// while no other thread is in the context's run; the context outlives the server.
class AsioTcpApiServer {
  public:
    AsioTcpApiServer(boost::asio::io_context& context, std::shared_ptr<AsyncApiProvider> provider,
                     std::shared_ptr<Logger> logger, ServerConfiguration configuration);
    // Closes all sockets. Calls in progress may end later; nobody gets their answers.
    ~AsioTcpApiServer();
    AsioTcpApiServer(const AsioTcpApiServer&) = delete;
    AsioTcpApiServer& operator=(const AsioTcpApiServer&) = delete;

    // Listens on both endpoints. A listener that fails is logged and tries again; false when both
    // failed. Throws
    // boost::system::system_error ("set_option") when the IPv6 socket cannot be kept to IPv6. Once.
    bool Start();

    // The ports in use; 0 without a listener.
    std::uint16_t Port4() const;
    std::uint16_t Port6() const;

  private:
    const std::shared_ptr<const ConnectionServices> services;
    const std::shared_ptr<ConnectionTable> connections;
    const std::shared_ptr<Listener> listener4;
    const std::shared_ptr<Listener> listener6;
};

}  // namespace Quon::Transport::PicoHttp
