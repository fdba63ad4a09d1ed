// The floor of an API call: a server that does only the indispensable work and responds with a body
// of the wanted size prepared in advance. The daemon's additional time is the cost of its HTTP,
// records and results.
#include "command_line.h"
#include "load_connection.h"
#include "platform/sys/owned_fd.h"
#include "platform/token/jwt.h"
#include "platform/token/public_key.h"
#include "platform/token/trust_set.h"

#include <nlohmann/json.hpp>

#include <array>
#include <climits>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Bench {
namespace {

constexpr char kUsage[] =
    "usage: bench_api_floor --port PORT --directory DIR [--jwks FILE --token-file FILE]\n"
    "Serves one connection after the other on 127.0.0.1:PORT. The target of a request is\n"
    "/WORK/BYTES: what to do before it is answered with so many bytes. WORK is \"brief\" (a look "
    "at\n"
    "every link in DIR), \"full\" (each of their files read and parsed too), \"get\" (one of them) "
    "or\n"
    "\"token\" (a look at every link, and one check of the token's signature).\n";

[[noreturn]] void FailAt(const char* call, const std::string& path) {
    FailWithErrno(std::string(call) + " " + path);
}

std::string ReadStream(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::string text{std::istreambuf_iterator<char>(file), {}};
    if (!file) {
        throw std::runtime_error("cannot read " + path);
    }
    text.erase(text.find_last_not_of(" \r\n") + 1);
    return text;
}

// A token and the only trusted key, both already parsed.
class Signature {
  public:
    Signature(const std::string& jwksPath, const std::string& tokenPath)
        : token(ReadStream(tokenPath)), keys(Token::ParseTrustSet(ReadStream(jwksPath)).keys) {
        nlohmann::json claims;
        std::string reason;
        if (!Token::ParseJwt(token, jwt, claims, reason) || keys.empty()) {
            throw std::runtime_error(tokenPath + " holds no token, or " + jwksPath + " no key");
        }
        Check();
    }

    void Check() const {
        if (!keys.front().HasSigned(jwt.signedText, jwt.signature)) {
            throw std::runtime_error("the token is not signed with the first trusted key");
        }
    }

  private:
    std::string token;
    std::vector<Token::PublicKey> keys;
    Token::Jwt jwt;
};

// The report directory and the work on it: the daemon's system calls, without keeping results.
class Store {
  public:
    explicit Store(std::string directory) : directory(std::move(directory)) {}

    // Examines every link and passes its target to `work`. Leaves the last target in `target`.
    template <typename Work>
    void Walk(const Work& work) {
        const std::unique_ptr<DIR, int (*)(DIR*)> stream(::opendir(directory.c_str()), ::closedir);
        if (!stream) {
            FailAt("opendir", directory);
        }
        while (const dirent* const entry = ::readdir(stream.get())) {
            if (entry->d_type != DT_LNK) {
                continue;
            }
            const ssize_t size = ::readlinkat(::dirfd(stream.get()), entry->d_name, target.data(),
                                              target.size() - 1);
            if (size < 0) {
                FailAt("readlink", entry->d_name);
            }
            target.at(static_cast<std::size_t>(size)) = '\0';
            struct stat status{};
            if (::stat(target.data(), &status) != 0) {
                FailAt("stat", target.data());
            }
            work();
        }
    }

    void ReadTarget() {
        const Sys::OwnedFd file(::open(target.data(), O_RDONLY | O_CLOEXEC));
        struct stat status{};
        if (!file.IsOpen() || ::fstat(file.Get(), &status) != 0) {
            FailAt("open", target.data());
        }
        text.resize(static_cast<std::size_t>(status.st_size));
        if (::read(file.Get(), text.data(), text.size()) != status.st_size) {
            FailAt("read", target.data());
        }
        if (nlohmann::json::parse(text).empty()) {
            throw std::runtime_error(std::string(target.data()) + " holds no report");
        }
    }

  private:
    const std::string directory;
    std::array<char, PATH_MAX> target{};
    std::string text;
};

// One connection: receives requests and sends prepared responses.
class Exchange {
  public:
    explicit Exchange(Sys::OwnedFd socket) : socket(std::move(socket)) {}

    // Reads the next request with its body and returns the target; empty at the end of the
    // connection.
    std::string NextTarget() {
        std::size_t head = 0;
        while ((head = received.find("\r\n\r\n")) == std::string::npos) {
            if (!Read()) {
                return {};
            }
        }
        constexpr std::string_view kLength = "\r\nContent-Length: ";
        const std::size_t length = received.find(kLength);
        const std::size_t end =
            head + 4 +
            (length < head ? std::strtoul(received.c_str() + length + kLength.size(), nullptr, 10)
                           : 0);
        while (received.size() < end && Read()) {
        }
        const std::size_t target = received.find(' ') + 1;
        std::string result = received.substr(target, received.find(' ', target) - target);
        received.erase(0, end);
        return result;
    }

    void Send(std::size_t bytes) {
        if (bytes != answerBytes) {
            answer = "HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(bytes) + "\r\n\r\n";
            answer.append(bytes, 'x');
            answerBytes = bytes;
        }
        for (std::size_t sent = 0; sent < answer.size();) {
            const ssize_t count =
                ::send(socket.Get(), answer.data() + sent, answer.size() - sent, MSG_NOSIGNAL);
            if (count < 0) {
                FailWithErrno("sending an answer");
            }
            sent += static_cast<std::size_t>(count);
        }
    }

  private:
    bool Read() {
        std::array<char, 16384> bytes{};
        const ssize_t count = ::recv(socket.Get(), bytes.data(), bytes.size(), 0);
        if (count > 0) {
            received.append(bytes.data(), static_cast<std::size_t>(count));
        }
        return count > 0;
    }

    Sys::OwnedFd socket;
    std::string received;
    std::string answer;
    std::size_t answerBytes = SIZE_MAX;
};

Sys::OwnedFd Listen(std::uint16_t port) {
    Sys::OwnedFd socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const int on = 1;  // accepted connections inherit TCP_NODELAY
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (!socket.IsOpen() ||
        ::setsockopt(socket.Get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) != 0 ||
        ::setsockopt(socket.Get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on) != 0 ||
        ::bind(socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        ::listen(socket.Get(), 8) != 0) {
        FailWithErrno("listening on port " + std::to_string(port));
    }
    return socket;
}

void Do(const std::string& work, Store& store, const std::optional<Signature>& signature) {
    if (work == "full") {
        store.Walk([&] { store.ReadTarget(); });
        return;
    }
    store.Walk([] {});
    if (work == "get") {
        store.ReadTarget();
    } else if (work == "token" && signature) {
        signature->Check();
    } else if (work != "brief") {
        throw std::runtime_error("there is no work \"" + work + "\" here");
    }
}

[[noreturn]] void Serve(CommandLine line) {
    const auto port = static_cast<std::uint16_t>(line.TakeNumber("port", 0));
    Store store(line.TakeText("directory", ""));
    const std::string jwks = line.TakeText("jwks", "");
    const std::string token = line.TakeText("token-file", "");
    line.RefuseOthers();
    std::optional<Signature> signature;
    if (!token.empty()) {
        signature.emplace(jwks, token);
    }
    const Sys::OwnedFd listener = Listen(port);
    for (;;) {
        Sys::OwnedFd socket(::accept4(listener.Get(), nullptr, nullptr, SOCK_CLOEXEC));
        if (!socket.IsOpen()) {
            FailWithErrno("accepting a connection");
        }
        Exchange exchange(std::move(socket));
        for (std::string target; !(target = exchange.NextTarget()).empty();) {
            const std::size_t slash = target.rfind('/');
            Do(target.substr(1, slash - 1), store, signature);
            exchange.Send(std::strtoul(target.c_str() + slash + 1, nullptr, 10));
        }
    }
}

}  // namespace
}  // namespace Bench

int main(int argc, char** argv) {
    try {
        Bench::Serve(Bench::CommandLine(argc, argv));
    } catch (const std::invalid_argument& error) {
        (void)std::fprintf(stderr, "bench_api_floor: %s\n%s", error.what(), Bench::kUsage);
    } catch (const std::exception& error) {
        (void)std::fprintf(stderr, "bench_api_floor: %s\n", error.what());
    }
    return EXIT_FAILURE;
}
