// The HTTP server of the API with its two listeners. connection.h handles a connection,
// connection_table.h bounds their number.
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

// Plain HTTP. Runs without locks on the one thread of the I/O context. Create, start and destroy it
// while no other thread runs the context; the context outlives the server.
class AsioTcpApiServer {
  public:
    AsioTcpApiServer(boost::asio::io_context& context, std::shared_ptr<AsyncApiProvider> provider,
                     std::shared_ptr<Logger> logger, ServerConfiguration configuration);
    // Closes all sockets. Calls in progress may end later; their results are dropped.
    ~AsioTcpApiServer();
    AsioTcpApiServer(const AsioTcpApiServer&) = delete;
    AsioTcpApiServer& operator=(const AsioTcpApiServer&) = delete;

    // Listens on both endpoints. Logs a listener that fails, which then tries again; returns false
    // if both failed. Throws boost::system::system_error ("set_option") if the IPv6 socket cannot
    // be restricted to IPv6. Call it once.
    bool Start();

  private:
    const std::shared_ptr<const ConnectionServices> services;
    const std::shared_ptr<ConnectionTable> connections;
    const std::shared_ptr<Listener> listener4;
    const std::shared_ptr<Listener> listener6;
};

}  // namespace Quon::Transport::PicoHttp
