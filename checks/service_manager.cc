#include "checks/service_manager.h"

#include "platform/sys/owned_fd.h"

#include <cerrno>
#include <cstring>

#include <string.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

namespace Checks {

namespace {

constexpr const char* kManagerSocket = "/run/systemd/private";
constexpr const char* kBusSocket = "/run/dbus/system_bus_socket";
constexpr const char* kManagerName = "org.freedesktop.systemd1";
constexpr int kPatienceSeconds = 5;

// A longer list would mean thousands of failed services.
constexpr std::size_t kMaxMessageBytes = 256 * 1024;
// Other messages that a bus may send before the reply.
constexpr int kMaxOtherMessages = 100;
constexpr std::size_t kMaxAuthenticationBytes = 1024;

// A connection that makes one call at a time.
class Connection {
  public:
    // Throws BusError.
    explicit Connection(const std::string& path) : path(path) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        if (path.size() >= sizeof address.sun_path) {
            throw BusError(path + " is too long for the path of a socket");
        }
        std::memcpy(address.sun_path, path.c_str(), path.size());
        socket.Reset(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
        const timeval patience{kPatienceSeconds, 0};
        if (!socket.IsOpen() ||
            ::setsockopt(socket.Get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience) != 0 ||
            ::setsockopt(socket.Get(), SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience) != 0 ||
            ::connect(socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) !=
                0) {
            Fail(errno);
        }
        Authenticate();
    }

    struct Reply {
        std::string signature;
        std::string body;
    };

    // Throws BusError, also if the peer refuses the call.
    Reply Call(const MethodCall& call) {
        Send(EncodeCall(call));
        for (int i = 0; i < kMaxOtherMessages; ++i) {
            const MessageHead head = DecodeHead(Receive(MessageHead::kSize), kMaxMessageBytes);
            const ReplyFields fields = DecodeFields(Receive(head.fieldsSize));
            std::string body = Receive(head.bodySize);
            if (fields.replySerial != call.serial) {
                continue;
            }
            if (head.type == MessageHead::Type::Error) {
                throw BusError(path + " refused " + call.member + ": " + fields.errorName);
            }
            return {fields.signature, std::move(body)};
        }
        throw BusError(path + " did not reply to " + call.member);
    }

  private:
    // Authenticates by the user id, which the kernel vouches for (dbus.freedesktop.org,
    // "Authentication Protocol").
    void Authenticate() {
        constexpr std::string_view kDigits = "0123456789abcdef";
        std::string user;
        for (const char digit : std::to_string(::geteuid())) {
            user += kDigits[static_cast<unsigned char>(digit) >> 4U];
            user += kDigits[static_cast<unsigned char>(digit) & 0xFU];
        }
        Send(std::string(1, '\0') + "AUTH EXTERNAL " + user + "\r\nBEGIN\r\n");
        std::string line;
        while (line.size() < 2 || line.substr(line.size() - 2) != "\r\n") {
            line += Receive(1);  // byte by byte: the bytes after the line belong to messages
            if (line.size() > kMaxAuthenticationBytes) {
                break;
            }
        }
        if (line.substr(0, 3) != "OK ") {
            throw BusError(path + " refused to authenticate this user");
        }
    }

    void Send(std::string_view bytes) {
        while (!bytes.empty()) {
            const ssize_t count = ::send(socket.Get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
            if (count < 0 && errno != EINTR) {
                Fail(errno);
            }
            bytes.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
        }
    }

    // Exactly `size` bytes.
    std::string Receive(std::size_t size) {
        std::string bytes(size, '\0');
        for (std::size_t done = 0; done < size;) {
            const ssize_t count = ::recv(socket.Get(), &bytes[done], size - done, 0);
            if (count == 0) {
                throw BusError(path + " closed the connection");
            }
            if (count < 0 && errno != EINTR) {
                Fail(errno);
            }
            done += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
        }
        return bytes;
    }

    [[noreturn]] void Fail(int problem) const {
        throw BusError(path + ": " +
                       (problem == EAGAIN ? "no answer in time" : ::strerrordesc_np(problem)));
    }

    const std::string path;
    Sys::OwnedFd socket;
};

MethodCall ListCall() {
    MethodCall call;
    call.serial = 2;
    call.path = "/org/freedesktop/systemd1";
    call.interface = "org.freedesktop.systemd1.Manager";
    call.member = "ListUnitsByPatterns";
    call.lists = {{"failed"}, {"*.service"}};
    return call;
}

std::vector<std::string> DecodeUnits(const Connection::Reply& reply) {
    // name, description, load, active and sub state, following unit, path, job, its type and path
    if (reply.signature != "a(ssssssouso)") {
        throw BusError("systemd replied with an unknown signature: " + reply.signature);
    }
    return DecodeFirstStrings(reply.body, "sssssouso");
}

std::vector<std::string> AskByBus(const std::string& root) {
    Connection bus(root + kBusSocket);
    MethodCall hello;
    hello.serial = 1;
    hello.destination = hello.interface = "org.freedesktop.DBus";
    hello.path = "/org/freedesktop/DBus";
    hello.member = "Hello";
    (void)bus.Call(hello);  // the reply is our bus name, which is not needed
    MethodCall call = ListCall();
    call.destination = kManagerName;
    return DecodeUnits(bus.Call(call));
}

}  // namespace

std::vector<std::string> ListFailedServices(const std::string& root) {
    const std::string socket = root + kManagerSocket;
    if (::access(socket.c_str(), W_OK) != 0) {
        return AskByBus(root);
    }
    Connection manager(socket);
    return DecodeUnits(manager.Call(ListCall()));
}

}  // namespace Checks
