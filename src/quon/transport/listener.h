// A listening socket of the API: opens it and passes on accepted connections.
#pragma once

#include "platform/runtime/call/logger.h"
#include "quon/transport/server_configuration.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>

namespace boost::asio {
class io_context;
}

namespace Quon::Transport::PicoHttp {

class ConnectionTable;

enum class AddressFamily { V4, V6 };

// For the thread of the I/O context, which outlives it.
class Listener : public std::enable_shared_from_this<Listener> {
  public:
    // Passes accepted connections to `connections`.
    Listener(boost::asio::io_context& context, std::shared_ptr<Logger> logger,
             const ServerLimits& limits, std::shared_ptr<ConnectionTable> connections);
    ~Listener();

    // Starts to listen and accept. Logs a failure and returns false; the listener then tries again
    // every `bindDelay`, logging nothing until it succeeds. Throws boost::system::system_error
    // ("set_option") if an IPv6 socket cannot be restricted to IPv6. Call it once.
    bool Start(AddressFamily family, const ListenEndpoint& endpoint);
    void Close();

  private:
    struct Sockets;

    std::error_code Listen();
    void LogListenError(AddressFamily family, const std::error_code& error) const;
    void DelayListen();
    void DoAccept();
    void Accept();
    void OnAcceptFailed(int error);
    void DelayAccept();
    void LogAcceptError(const std::error_code& error, std::string_view kind) const;

    const std::shared_ptr<Logger> logger;
    const ServerLimits limits;
    const std::shared_ptr<ConnectionTable> connections;
    const std::unique_ptr<Sockets> sockets;
    std::string address;  // as configured, then as bound, such as "[::1]:9984"
};

}  // namespace Quon::Transport::PicoHttp
