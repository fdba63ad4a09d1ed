#include "support/report_listener.h"

#include "support/deadline.h"

#include <array>
#include <stdexcept>

#include <sys/socket.h>

namespace Test {

namespace {

void ReceiveMore(int socket, const Deadline& deadline, std::string& bytes) {
    std::array<char, 65536> buffer{};
    deadline.Await(socket, POLLIN, "the rest of a post");
    const ssize_t count = ::recv(socket, buffer.data(), buffer.size(), 0);
    if (count <= 0) {
        throw std::runtime_error("the plugin closed the connection in the middle of its post");
    }
    bytes.append(buffer.data(), static_cast<std::size_t>(count));
}

}  // namespace

ReportListener::Post ReportListener::Receive() {
    const Deadline deadline;
    deadline.Await(listener.Get(), POLLIN, "a post");
    connection.Reset(::accept4(listener.Get(), nullptr, nullptr, SOCK_CLOEXEC));
    std::string bytes;
    std::size_t end = std::string::npos;
    while ((end = bytes.find("\r\n\r\n")) == std::string::npos) {
        ReceiveMore(connection.Get(), deadline, bytes);
    }
    Post post;
    post.head = bytes.substr(0, end + 4);
    post.body = bytes.substr(end + 4);
    const std::string field = "\r\nContent-Length: ";
    const std::size_t length = std::stoul(post.head.substr(post.head.find(field) + field.size()));
    while (post.body.size() < length) {
        ReceiveMore(connection.Get(), deadline, post.body);
    }
    return post;
}

void ReportListener::Answer(int status) {
    AnswerBytes("HTTP/1.1 " + std::to_string(status) +
                " Some Reason\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
}

void ReportListener::AnswerBytes(std::string_view bytes) {
    (void)::send(connection.Get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);  // it may be gone
    connection.Reset();
}

}  // namespace Test
