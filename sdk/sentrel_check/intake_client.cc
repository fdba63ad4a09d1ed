#include "sentrel_check/intake_client.h"

#include "platform/sys/owned_fd.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <string>
#include <vector>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <string.h>
#include <sys/socket.h>
#include <time.h>

namespace SentrelCheck {

namespace {

using SteadyTime = std::chrono::steady_clock::time_point;

constexpr std::size_t kMaxAnswerBytes = 16 * 1024;
constexpr int kOk = 200;
constexpr int kFirstServerError = 500;

// Why an attempt failed, and whether another one may succeed.
class TryError : public std::runtime_error {
  public:
    enum class Again { Worthwhile, Useless };
    TryError(const std::string& reason, Again again) : std::runtime_error(reason), again(again) {}
    Again again;
};

[[noreturn]] void FailTry(const std::string& reason) {
    throw TryError(reason, TryError::Again::Worthwhile);
}

[[noreturn]] void FailTry(const std::string& action, int problem) {
    FailTry(action + ": " + ::strerrordesc_np(problem));
}

void Await(int socket, short events, SteadyTime deadline, const std::string& action) {
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        pollfd entry{socket, events, 0};
        const int ready = ::poll(&entry, 1, std::max(static_cast<int>(left.count()), 0));
        if (ready > 0) {
            return;  // the next call on the socket reports an error or hang-up
        }
        if (ready == 0) {
            FailTry(action + ": no answer in time");
        }
        if (errno != EINTR) {
            FailTry(action, errno);
        }
    }
}

// Throws TryError.
Sys::OwnedFd Connect(const std::string& host, int port, SteadyTime deadline) {
    sockaddr_in address4{};
    sockaddr_in6 address6{};
    address4.sin_family = AF_INET;
    address6.sin6_family = AF_INET6;
    address4.sin_port = address6.sin6_port = htons(static_cast<std::uint16_t>(port));
    const bool is4 = ::inet_pton(AF_INET, host.c_str(), &address4.sin_addr) == 1;
    if (!is4) {
        (void)::inet_pton(AF_INET6, host.c_str(), &address6.sin6_addr);  // the URL was checked
    }
    const std::string action = "cannot connect to " + host + " port " + std::to_string(port);
    Sys::OwnedFd socket(
        ::socket(is4 ? AF_INET : AF_INET6, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!socket.IsOpen()) {
        FailTry(action, errno);
    }
    // The socket interface takes both families through one type.
    const auto* address = is4 ? reinterpret_cast<const sockaddr*>(&address4)
                              : reinterpret_cast<const sockaddr*>(&address6);
    const socklen_t length = is4 ? sizeof address4 : sizeof address6;
    if (::connect(socket.Get(), address, length) != 0) {
        if (errno != EINPROGRESS) {
            FailTry(action, errno);
        }
        Await(socket.Get(), POLLOUT, deadline, action);
        int problem = 0;
        socklen_t size = sizeof problem;
        (void)::getsockopt(socket.Get(), SOL_SOCKET, SO_ERROR, &problem, &size);  // cannot fail
        if (problem != 0) {
            FailTry(action, problem);
        }
    }
    return socket;
}

Sys::OwnedFd ConnectToIntake(const IntakeAddress& intake, SteadyTime deadline) {
    if (intake.host != "localhost") {
        return Connect(intake.host, intake.port, deadline);
    }
    try {
        return Connect("::1", intake.port, deadline);
    } catch (const TryError&) {
        return Connect("127.0.0.1", intake.port, deadline);
    }
}

// Stops early if the intake closes the connection: it responds to a refused post without reading
// all of it.
void Send(int socket, std::string_view bytes, SteadyTime deadline) {
    while (!bytes.empty()) {
        const ssize_t count = ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (count >= 0) {
            bytes.remove_prefix(static_cast<std::size_t>(count));
        } else if (errno == EAGAIN) {
            Await(socket, POLLOUT, deadline, "sending the report");
        } else if (errno != EINTR) {
            return;
        }
    }
}

// The status of the final response at the front of `answer`, or 0 if it is incomplete; removes
// interim responses before it. Throws TryError if it is not an HTTP response.
int TakeStatus(std::string& answer) {
    constexpr std::string_view kHttp = "HTTP/1.";
    for (;;) {
        const std::size_t end = answer.find("\r\n\r\n");
        if (end == std::string::npos) {
            return 0;
        }
        int status = 0;
        const std::string_view line = std::string_view(answer).substr(0, answer.find("\r\n"));
        const std::size_t blank = line.find(' ');
        if (line.substr(0, kHttp.size()) == kHttp && blank != std::string_view::npos) {
            (void)std::from_chars(line.data() + blank + 1, line.data() + line.size(), status);
        }
        if (status < 100 || status > 999) {
            FailTry("the server on that port does not speak HTTP");
        }
        if (status >= 200) {
            return status;
        }
        answer.erase(0, end + 4);
    }
}

int ReceiveStatus(int socket, SteadyTime deadline) {
    std::string answer;
    std::array<char, 1024> buffer{};
    while (answer.size() < kMaxAnswerBytes) {
        Await(socket, POLLIN, deadline, "waiting for the intake's answer");
        const ssize_t count = ::recv(socket, buffer.data(), buffer.size(), 0);
        if (count < 0 && (errno == EINTR || errno == EAGAIN)) {
            continue;
        }
        if (count < 0) {
            FailTry("reading the intake's answer", errno);
        }
        if (count == 0) {
            FailTry("the intake closed the connection without an answer");
        }
        answer.append(buffer.data(), static_cast<std::size_t>(count));
        if (const int status = TakeStatus(answer); status != 0) {
            return status;
        }
    }
    FailTry("the intake's answer is too long");
}

std::string Advice(int status) {
    switch (status) {
        case 413:
            return " (too large); send less";
        case 500:
            return " (not stored): the report directory or the report's name is at fault; the "
                   "daemon's log says why";
        default:
            return "; check that this port is the daemon's http_port";
    }
}

void TryPost(const IntakeAddress& intake, const std::string& head, std::string_view document,
             SteadyTime deadline) {
    const Sys::OwnedFd socket = ConnectToIntake(intake, deadline);
    Send(socket.Get(), head, deadline);
    Send(socket.Get(), document, deadline);
    const int status = ReceiveStatus(socket.Get(), deadline);
    if (status != kOk) {
        throw TryError(
            "the intake answered " + std::to_string(status) + Advice(status),
            status >= kFirstServerError ? TryError::Again::Worthwhile : TryError::Again::Useless);
    }
}

void Pause(std::chrono::milliseconds duration) {
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(duration);
    const std::chrono::nanoseconds rest = duration - seconds;
    timespec left{static_cast<time_t>(seconds.count()), static_cast<long>(rest.count())};
    while (::nanosleep(&left, &left) != 0 && errno == EINTR) {
    }
}

std::string HeadOf(const IntakeAddress& intake, std::string_view name, std::size_t length) {
    const bool isV6 = intake.host.find(':') != std::string::npos;
    return "POST /" + std::string(name) +
           " HTTP/1.1\r\nHost: " + (isV6 ? "[" + intake.host + "]" : intake.host) + ":" +
           std::to_string(intake.port) +
           "\r\nContent-Type: application/json\r\nContent-Length: " + std::to_string(length) +
           "\r\nConnection: close\r\n\r\n";
}

}  // namespace

void PostReport(const IntakeAddress& intake, std::string_view name, std::string_view document,
                const PostOptions& options) {
    if (document.size() > kMaxReportBytes) {
        throw PostError("the report has " + std::to_string(document.size()) +
                        " bytes, but the intake accepts at most " +
                        std::to_string(kMaxReportBytes) + "; report less");
    }
    const SteadyTime start = std::chrono::steady_clock::now();
    const std::string head = HeadOf(intake, name, document.size());
    try {
        TryPost(intake, head, document, start + options.patience / 2);
        return;
    } catch (const TryError& error) {
        if (error.again == TryError::Again::Useless) {
            throw PostError(error.what());
        }
    }
    Pause(options.pause);
    try {
        TryPost(intake, head, document, start + options.patience);
    } catch (const TryError& error) {
        throw PostError(std::string("gave up after two tries: ") + error.what());
    }
}

}  // namespace SentrelCheck
