#include "quon/transport/listener.h"

#include "platform/sys/owned_fd.h"
#include "quon/transport/connection_table.h"
#include "quon/transport/message/transport_error.h"

#include <boost/asio/error.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ip/v6_only.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/system/system_error.hpp>

#include <cerrno>
#include <exception>
#include <sstream>
#include <system_error>
#include <utility>

#include <sys/socket.h>

namespace Quon::Transport::PicoHttp {

namespace Net = boost::asio;
using boost::system::error_code;
using Tcp = Net::ip::tcp;

namespace {

std::string ToText(const Tcp::endpoint& endpoint) {
    std::ostringstream text;
    text << endpoint;
    return text.str();
}

error_code SystemError(int error) { return {error, boost::system::system_category()}; }

// Close-on-exec, unlike Asio's own sockets.
error_code OpenSocket(Tcp::acceptor& acceptor, const Tcp& protocol) {
    Sys::OwnedFd socket(::socket(protocol.family(), SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!socket.IsOpen()) {
        return SystemError(errno);
    }
    error_code error;
    acceptor.assign(protocol, socket.Get(), error);
    if (!error) {
        (void)socket.Release();
    }
    return error;
}

// Leaves the acceptor listening if it returns no error.
error_code OpenAcceptor(Tcp::acceptor& acceptor, const Tcp::endpoint& endpoint) {
    error_code error = OpenSocket(acceptor, endpoint.protocol());
    if (!error) acceptor.set_option(Tcp::acceptor::reuse_address(true), error);
    if (!error && endpoint.protocol() == Tcp::v6()) {
        acceptor.set_option(Net::ip::v6_only(true));
    }
    if (!error) acceptor.bind(endpoint, error);
    if (!error) acceptor.listen(kListenBacklog, error);
    if (!error) acceptor.non_blocking(true, error);
    return error;
}

// What to do so that the API is served on this address; empty if the host lacks such addresses,
// which is not a problem.
std::string AdviceFor(const std::error_code& error) {
    switch (error.value()) {
        case EAFNOSUPPORT:
        case EADDRNOTAVAIL:
            return "";
        case EADDRINUSE:
            return "; stop the process that holds the port (\"ss -tlnp\" shows it); this daemon "
                   "tries again every 5 s";
        default:
            return "; fix that; this daemon tries again every 5 s";
    }
}

}  // namespace

struct Listener::Sockets {
    explicit Sockets(Net::io_context& context) : acceptor(context), delay(context) {}

    Tcp::acceptor acceptor;
    Tcp::endpoint wanted;
    Net::steady_timer delay;
};

Listener::Listener(Net::io_context& context, std::shared_ptr<Logger> logger,
                   const ServerLimits& limits, std::shared_ptr<ConnectionTable> connections)
    : logger(std::move(logger)),
      limits(limits),
      connections(std::move(connections)),
      sockets(std::make_unique<Sockets>(context)) {}

Listener::~Listener() = default;

bool Listener::Start(AddressFamily family, const ListenEndpoint& endpoint) {
    sockets->wanted = {Net::ip::make_address(endpoint.address), endpoint.port};
    address = ToText(sockets->wanted);
    if (const std::error_code error = Listen()) {
        LogListenError(family, error);
        DelayListen();
        return false;
    }
    return true;
}

std::error_code Listener::Listen() {
    Tcp::acceptor& acceptor = sockets->acceptor;
    error_code error = OpenAcceptor(acceptor, sockets->wanted);
    Tcp::endpoint bound;
    if (!error) bound = acceptor.local_endpoint(error);
    if (error) {
        Close();
        return error;
    }
    address = ToText(bound);
    logger->Log(kMilestone, "Listening on: " + address);
    DoAccept();
    return {};
}

void Listener::LogListenError(AddressFamily family, const std::error_code& error) const {
    logger->Log(kMilestone, std::string(family == AddressFamily::V4 ? "IPv4" : "IPv6") +
                                " Failed to listen on: " + address + " ec: " +
                                error.category().name() + ":" + std::to_string(error.value()));
    // The milestone says neither why nor what to do, and is easily overlooked.
    if (const std::string advice = AdviceFor(error); !advice.empty()) {
        logger->Log(kFailure,
                    "The API is not served on " + address + ": " + error.message() + advice);
    }
}

void Listener::DelayListen() {
    sockets->delay.expires_after(limits.bindDelay);
    sockets->delay.async_wait([weak = weak_from_this()](const error_code& error) {
        const auto self = weak.lock();
        if (!self || error == Net::error::operation_aborted) {
            return;
        }
        try {
            if (!self->Listen()) {
                return;
            }
        } catch (const boost::system::system_error&) {  // handled like any other failure by now
            self->Close();
        }
        self->DelayListen();
    });
}

void Listener::Close() {
    error_code ignored;  // the socket is closed whatever it reports
    sockets->acceptor.close(ignored);
    sockets->delay.cancel();
}

void Listener::DoAccept() {
    sockets->acceptor.async_wait(
        Tcp::acceptor::wait_read, [weak = weak_from_this()](const error_code& error) {
            const auto self = weak.lock();
            if (self && self->sockets->acceptor.is_open()) {
                error ? self->OnAcceptFailed(error.value()) : self->Accept();
            }
        });
}

// Accepts one connection at a time, so that open ones get their turn in between.
void Listener::Accept() {
    Sys::OwnedFd accepted(::accept4(sockets->acceptor.native_handle(), nullptr, nullptr,
                                    SOCK_NONBLOCK | SOCK_CLOEXEC));
    const int error = errno;
    if (!accepted.IsOpen()) {
        return OnAcceptFailed(error);
    }
    try {
        connections->Admit(std::move(accepted));
    } catch (const std::exception& failure) {
        logger->Log(kFailure, std::string("Accept Error: ") + failure.what() +
                                  "NoError.Acceptor info:" + address);
    }
    DoAccept();
}

void Listener::OnAcceptFailed(int error) {
    switch (error) {
        case EAGAIN:
        case EINTR:
        case ECONNABORTED:  // the client has gone; the listener is fine
        case EPROTO:
            return DoAccept();
        case EMFILE:
            LogAcceptError(SystemError(error), ";DelayAcceptError");
            return DelayAccept();
        default:
            LogAcceptError(SystemError(error), ";TerminalAcceptError");
            return Close();
    }
}

void Listener::DelayAccept() {
    sockets->delay.expires_after(limits.acceptDelay);
    sockets->delay.async_wait([weak = weak_from_this()](const error_code& error) {
        const auto self = weak.lock();
        if (!self || !self->sockets->acceptor.is_open()) {
            return;
        }
        if (error) {
            self->logger->Log(kFailure, "Delay timer Accept Error: " + Describe(error));
        }
        self->DoAccept();
    });
}

void Listener::LogAcceptError(const std::error_code& error, std::string_view kind) const {
    logger->Log(kFailure, "Accept Error: " + Describe(error) + std::string(kind) +
                              ".Acceptor info:" + address);
}

}  // namespace Quon::Transport::PicoHttp
