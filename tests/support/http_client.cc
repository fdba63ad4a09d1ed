#include "support/http_client.h"

#include "support/deadline.h"
#include "support/loopback.h"

#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/string_body.hpp>

#include <cerrno>
#include <stdexcept>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <strings.h>
#include <sys/socket.h>

namespace Test {

namespace http = boost::beast::http;

std::string HttpResponse::Field(std::string_view name) const {
    for (const auto& [fieldName, value] : fields) {
        if (fieldName.size() == name.size() &&
            ::strncasecmp(fieldName.data(), name.data(), name.size()) == 0) {
            return value;
        }
    }
    return {};
}

RawConnection::RawConnection(int port, const std::string& address)
    : socket(ConnectTo(address, port)) {
    const int on = 1;  // each Send is a packet of its own
    (void)::setsockopt(socket.Get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
}

bool RawConnection::Send(std::string_view bytes) {
    const Deadline deadline;
    while (!bytes.empty()) {
        const ssize_t count =
            ::send(socket.Get(), bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (count >= 0) {
            bytes.remove_prefix(static_cast<std::size_t>(count));
        } else if (errno == EAGAIN) {
            deadline.Await(socket.Get(), POLLOUT, "the server to take bytes");
        } else if (errno != EINTR) {
            return false;
        }
    }
    return true;
}

void RawConnection::FinishSending() { (void)::shutdown(socket.Get(), SHUT_WR); }

void RawConnection::Reset() {
    const linger atOnce{1, 0};
    (void)::setsockopt(socket.Get(), SOL_SOCKET, SO_LINGER, &atOnce, sizeof(atOnce));
    socket.Reset();
}

std::optional<HttpResponse> RawConnection::ReadResponse() {
    http::response_parser<http::string_body> parser;
    parser.eager(true);
    parser.body_limit(boost::none);
    boost::beast::error_code error;
    do {
        received.erase(0, parser.put(boost::asio::buffer(received), error));
        if (error && error != http::error::need_more) {
            throw std::runtime_error("no HTTP response: " + error.message());
        }
    } while (!parser.is_done() && ReceiveMore());
    if (!parser.is_done()) {
        return std::nullopt;
    }
    HttpResponse response;
    response.status = static_cast<int>(parser.get().result_int());
    response.body = parser.get().body();
    for (const auto& field : parser.get()) {
        response.fields.emplace_back(field.name_string(), field.value());
    }
    return response;
}

std::string RawConnection::ReadUntilClosed() {
    while (ReceiveMore()) {
    }
    return std::exchange(received, {});
}

bool RawConnection::ReceiveMore() {
    const Deadline deadline;
    for (;;) {
        deadline.Await(socket.Get(), POLLIN, "the server to answer or to close");
        char buffer[4096];
        const ssize_t count = ::recv(socket.Get(), buffer, sizeof(buffer), MSG_DONTWAIT);
        if (count > 0) {
            received.append(buffer, static_cast<std::size_t>(count));
            return true;
        }
        if (count == 0 || (errno != EAGAIN && errno != EINTR)) {
            return false;
        }
    }
}

std::string PostRequest(std::string_view path, std::string_view body, std::string_view fields) {
    std::string request("POST ");
    request.append(path).append(
        " HTTP/1.1\r\nHost: localhost\r\nContent-Type: application/json\r\n");
    request.append("Content-Length: ").append(std::to_string(body.size())).append("\r\n");
    return request.append(fields).append("\r\n").append(body);
}

std::string ReportDocument(std::string_view name, std::size_t padding) {
    std::string document(R"({"structured":{"name":")");
    document.append(name).append(R"(","time":"2024-05-06T07:08:09+00:00","status":0},)");
    document.append(R"("unstructured":{"padding":")").append(padding, 'x').append("\"}}");
    return document;
}

int HttpClient::Post(std::string_view path, std::string_view body) {
    if (!connection) {
        connection.emplace(port);
    }
    std::optional<HttpResponse> response;
    if (connection->Send(PostRequest(path, body))) {
        response = connection->ReadResponse();
    }
    if (!response || response->ClosesConnection()) {
        connection.reset();
    }
    return response ? response->status : 0;
}

}  // namespace Test
