#include "ctl/host/listening_sockets.h"

#include "platform/sys/owned_fd.h"
#include "platform/sys/proc_file.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <fstream>
#include <memory>
#include <sstream>

#include <arpa/inet.h>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Ctl {

namespace {

constexpr std::string_view kListen = "0A";
// The length of a line. To fill a larger buffer, the kernel looks for connections in its whole
// table, which takes a millisecond.
constexpr std::size_t kLineBytes = 150;
constexpr std::size_t kGroupDigits = 8;  // hexadecimal digits of a group of four bytes
// A program listens before it serves, so its listening sockets are among its first descriptors.
constexpr std::size_t kMaxDescriptors = 1024;

struct CloseStream {
    void operator()(DIR* stream) const { (void)::closedir(stream); }  // read only
};
using DirectoryStream = std::unique_ptr<DIR, CloseStream>;

template <typename Number>
bool ParseNumber(std::string_view text, Number& number, int base = 10) {
    const auto [stop, error] =
        std::from_chars(text.data(), text.data() + text.size(), number, base);
    return error == std::errc{} && stop == text.data() + text.size() && !text.empty();
}

// The bytes of the address in network order; none if the text is not an address.
std::vector<std::uint8_t> ParseAddress(std::string_view digits) {
    std::vector<std::uint8_t> bytes(digits.size() / 2);
    for (std::size_t group = 0; group * kGroupDigits < digits.size(); ++group) {
        std::uint32_t number = 0;
        if (!ParseNumber(digits.substr(group * kGroupDigits, kGroupDigits), number, 16)) {
            return {};
        }
        std::memcpy(&bytes[group * sizeof number], &number, sizeof number);
    }
    return bytes;
}

ListeningSocket::Reach ReachOf(const std::vector<std::uint8_t>& address) {
    using Reach = ListeningSocket::Reach;
    constexpr std::array<std::uint8_t, 12> kMapped = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xff, 0xff};
    const bool isMapped = address.size() == sizeof(in6_addr) &&
                          std::equal(kMapped.begin(), kMapped.end(), address.begin());
    const std::size_t start = isMapped ? kMapped.size() : 0;
    const bool startsWithZeros =
        std::all_of(address.begin() + static_cast<std::ptrdiff_t>(start), address.end() - 1,
                    [](auto byte) { return byte == 0; });
    if (startsWithZeros && address.back() == 0) {
        return Reach::AnyAddress;
    }
    const bool isVersion4 = isMapped || address.size() == sizeof(in_addr);
    const bool isLoopback =
        isVersion4 ? address[start] == 127 : startsWithZeros && address.back() == 1;
    return isLoopback ? Reach::Loopback : Reach::OneAddress;
}

std::string AddressText(const std::vector<std::uint8_t>& address) {
    std::array<char, INET6_ADDRSTRLEN> text{};
    const int family = address.size() == sizeof(in_addr) ? AF_INET : AF_INET6;
    return ::inet_ntop(family, address.data(), text.data(), text.size()) == nullptr ? "?"
                                                                                    : text.data();
}

// The fields of one line of the table.
struct SocketLine {
    std::string local;
    std::string state;
    ListeningSocket socket;
};
std::optional<SocketLine> ReadLine(const std::string& line) {
    std::istringstream fields(line);
    SocketLine read;
    std::string skipped;
    fields >> skipped >> read.local >> skipped >> read.state >> skipped >> skipped >> skipped >>
        read.socket.user >> skipped >> read.socket.inode;
    return fields ? std::optional(std::move(read)) : std::nullopt;
}

// Reads the address; false if its port is not `port`. 0 matches every port.
bool TakeAddress(SocketLine& read, std::uint16_t port) {
    const std::size_t colon = read.local.find(':');
    std::uint16_t ownPort = 0;
    if ((colon != kGroupDigits && colon != 4 * kGroupDigits) ||
        !ParseNumber(std::string_view(read.local).substr(colon + 1), ownPort, 16) ||
        (port != 0 && ownPort != port)) {
        return false;
    }
    const std::vector<std::uint8_t> address =
        ParseAddress(std::string_view(read.local).substr(0, colon));
    if (address.empty()) {
        return false;
    }
    read.socket.address = AddressText(address);
    read.socket.port = ownPort;
    read.socket.reach = ReachOf(address);
    return true;
}

// Returns whether it stopped at `wanted`, which is the last socket then.
bool AddListening(std::istream& lines, std::uint16_t port, std::string_view wanted,
                  std::vector<ListeningSocket>& sockets) {
    std::string line;
    (void)std::getline(lines, line);  // the headings
    while (std::getline(lines, line)) {
        std::optional<SocketLine> read = ReadLine(line);
        if (read && read->state != kListen) {
            return false;  // no listening socket follows, and the rest may be very long
        }
        if (read && TakeAddress(*read, port)) {
            sockets.push_back(std::move(read->socket));
            if (sockets.back().address == wanted) {
                return true;
            }
        }
    }
    return false;
}

bool HoldsSocket(int processes, const std::string& pid,
                 const std::vector<std::string>& socketNames) {
    Sys::OwnedFd directory(
        ::openat(processes, (pid + "/fd").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const DirectoryStream stream(directory.IsOpen() ? ::fdopendir(directory.Get()) : nullptr);
    if (!stream) {
        return false;  // it has exited, or this user may not see its descriptors
    }
    const int descriptors = directory.Release();  // now owned by the stream
    std::size_t looked = 0;
    // NOLINTNEXTLINE(concurrency-mt-unsafe): the stream is this function's own
    for (const dirent* entry = ::readdir(stream.get());
         entry != nullptr && looked < kMaxDescriptors; entry = ::readdir(stream.get()), ++looked) {
        std::array<char, 64> target;
        const ssize_t length =
            ::readlinkat(descriptors, entry->d_name, target.data(), target.size());
        const std::string_view name(target.data(),
                                    static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
        if (std::find(socketNames.begin(), socketNames.end(), name) != socketNames.end()) {
            return true;
        }
    }
    return false;
}

// Lists all processes: first those with both one of these users and that name, then those of the
// users, then the others.
std::vector<std::string> ListProcesses(DIR* processes, const std::vector<ListeningSocket>& sockets,
                                       std::string_view likelyName) {
    std::vector<std::string> named;
    std::vector<std::string> likely;
    std::vector<std::string> others;
    const auto isOfUser = [&sockets](uid_t user) {
        return std::any_of(sockets.begin(), sockets.end(),
                           [user](const auto& socket) { return socket.user == user; });
    };
    const bool isRoots = isOfUser(0);  // most processes are root's, so names distinguish better
    // NOLINTNEXTLINE(concurrency-mt-unsafe): the stream is this function's caller's own
    while (const dirent* entry = ::readdir(processes)) {
        if (entry->d_name[0] < '1' || entry->d_name[0] > '9') {
            continue;
        }
        struct stat status{};
        const bool isLikely =
            isRoots || (::fstatat(::dirfd(processes), entry->d_name, &status, 0) == 0 &&
                        isOfUser(status.st_uid));
        const std::string process = entry->d_name;
        const bool isNamed =
            isLikely && Sys::ReadProcFile("/proc/" + process + "/comm", likelyName.size() + 1) ==
                            std::string(likelyName) + "\n";
        (isNamed ? named : isLikely ? likely : others).push_back(process);
    }
    named.insert(named.end(), likely.begin(), likely.end());
    named.insert(named.end(), others.begin(), others.end());
    return named;
}

}  // namespace

std::vector<ListeningSocket> ParseListeningSockets(std::string_view text, std::uint16_t port) {
    std::vector<ListeningSocket> sockets;
    std::istringstream lines{std::string(text)};
    (void)AddListening(lines, port, "", sockets);
    return sockets;
}

std::vector<ListeningSocket> FindListeningSockets(std::uint16_t port, std::string_view address) {
    std::vector<ListeningSocket> sockets;
    for (const char* path : {"/proc/net/tcp", "/proc/net/tcp6"}) {
        std::array<char, kLineBytes> buffer;
        std::ifstream lines;
        (void)lines.rdbuf()->pubsetbuf(buffer.data(), buffer.size());
        lines.open(path);
        if (AddListening(lines, port, address, sockets)) {
            break;
        }
    }
    return sockets;
}

std::vector<std::uint16_t> FindListeningPorts(pid_t process) {
    std::vector<std::uint16_t> ports;
    for (const ListeningSocket& socket : FindListeningSockets(0)) {
        const std::string path = "/proc/" + std::to_string(process);
        if (HoldsSocket(AT_FDCWD, path, {"socket:[" + std::to_string(socket.inode) + "]"})) {
            ports.push_back(socket.port);
        }
    }
    return ports;
}

std::optional<pid_t> FindOwner(const std::vector<ListeningSocket>& sockets,
                               std::string_view likelyName) {
    const DirectoryStream processes(sockets.empty() ? nullptr : ::opendir("/proc"));
    if (!processes) {
        return std::nullopt;
    }
    std::vector<std::string> names;
    names.reserve(sockets.size());
    for (const ListeningSocket& socket : sockets) {
        names.push_back("socket:[" + std::to_string(socket.inode) + "]");
    }
    for (const std::string& process : ListProcesses(processes.get(), sockets, likelyName)) {
        pid_t pid = 0;
        if (ParseNumber(std::string_view(process), pid) &&
            HoldsSocket(::dirfd(processes.get()), process, names)) {
            return pid;
        }
    }
    return std::nullopt;
}

}  // namespace Ctl
