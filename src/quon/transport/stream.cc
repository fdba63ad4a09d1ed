#include "quon/transport/stream.h"

#include "quon/transport/client_presence.h"

#include <boost/asio/basic_stream_socket.hpp>
#include <boost/asio/buffer.hpp>
#include <boost/asio/error.hpp>
#include <boost/asio/generic/stream_protocol.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/write.hpp>

#include <algorithm>
#include <utility>

#include <netinet/in.h>
#include <sys/socket.h>

namespace Quon::Transport::PicoHttp {

namespace Net = boost::asio;
using boost::system::error_code;

struct Stream::Socket {
    explicit Socket(Net::io_context& context) : context(context), connection(context) {}

    Net::io_context& context;
    Net::basic_stream_socket<Net::generic::stream_protocol, Net::io_context::executor_type>
        connection;
};

Stream::Stream(Net::io_context& context, Sys::OwnedFd accepted)
    : socket(std::make_unique<Socket>(context)) {
    // The address family of a connected socket does not matter.
    socket->connection.assign({AF_UNSPEC, IPPROTO_TCP}, accepted.Get());
    (void)accepted.Release();
    socket->connection.non_blocking(true);
    error_code ignored;  // fails if the client is gone, which reading reports
    socket->connection.set_option(Net::ip::tcp::no_delay(true), ignored);
}

Stream::~Stream() = default;

void Stream::Receive(std::span<char> buffer, OnDone done) {
    socket->connection.async_read_some(
        Net::buffer(buffer.data(), buffer.size()),
        [done = std::move(done)](const error_code& error, std::size_t count) {
            done(error == Net::error::eof ? error_code() : error, count);
        });
}

bool Stream::Send(const Parts& parts, OnDone done) {
    std::array<Net::const_buffer, 2> rest{Net::buffer(parts[0]), Net::buffer(parts[1])};
    error_code error;
    std::size_t sent = socket->connection.write_some(rest, error);
    if (error == Net::error::would_block || error == Net::error::try_again) {
        error.clear();
    }
    if (error) {
        Net::post(socket->context, [done = std::move(done), error] { done(error, 0); });
        return false;
    }
    if (sent == parts[0].size() + parts[1].size()) {
        return true;
    }
    for (Net::const_buffer& buffer : rest) {
        const std::size_t count = std::min(sent, buffer.size());
        buffer += count;
        sent -= count;
    }
    Net::async_write(socket->connection, rest,
                     [done = std::move(done)](const error_code& failure, std::size_t count) {
                         done(failure, count);
                     });
    return false;
}

void Stream::Post(std::function<void()> task) { Net::post(socket->context, std::move(task)); }

bool Stream::HasClientLeft() {
    const auto now = std::chrono::steady_clock::now();
    if (!hasLeft && now >= nextLook) {
        nextLook = now + std::chrono::milliseconds(100);
        hasLeft = PicoHttp::HasClientLeft(socket->connection.native_handle());
    }
    return hasLeft;
}

void Stream::FinishSending() {
    error_code ignored;  // fails only if the client is gone
    socket->connection.shutdown(Net::socket_base::shutdown_send, ignored);
}

void Stream::Close() {
    error_code ignored;  // the socket is closed whatever it reports
    socket->connection.close(ignored);
}

}  // namespace Quon::Transport::PicoHttp
