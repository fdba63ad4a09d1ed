// What a server socket listens on, in a network namespace of the test's own, so that ports are
// free.
#include "platform/pellmar/system/server_socket.h"

#include "platform/pellmar/exceptions.h"
#include "platform/pellmar/system/system_factory.h"
#include "platform/sys/owned_fd.h"
#include "support/network_namespace.h"
#include "support/temporary_directory.h"

#include <gmock/gmock.h>

#include <array>
#include <fstream>
#include <string>
#include <vector>

#include <netdb.h>
#include <sys/mount.h>
#include <sys/socket.h>

namespace Pellmar::System {
namespace {

using Test::EnterMountNamespace;
using Test::EnterNetworkNamespace;
using Test::TemporaryDirectory;
using testing::HasSubstr;
using testing::UnorderedElementsAre;

constexpr int kPort = 9996;

// "ADDRESS port NUMBER" of one end of a socket.
std::string LocalAddress(int descriptor) {
    sockaddr_storage storage{};
    socklen_t length = sizeof storage;
    auto* const address = reinterpret_cast<sockaddr*>(&storage);
    std::array<char, NI_MAXHOST> host{};
    std::array<char, NI_MAXSERV> port{};
    if (::getsockname(descriptor, address, &length) != 0 ||
        ::getnameinfo(address, length, host.data(), host.size(), port.data(), port.size(),
                      NI_NUMERICHOST | NI_NUMERICSERV) != 0) {
        return "no address";
    }
    return std::string(host.data()) + " port " + port.data();
}

std::vector<std::string> ListenedAddresses(const Ref<ServerSocket>& socket) {
    std::vector<std::string> addresses;
    for (const int descriptor : socket->GetDescriptors()) {
        addresses.push_back(LocalAddress(descriptor));
    }
    return addresses;
}

template <typename Throwable>
std::string TextOfFailure(const std::string& host, int port) {
    const Ref<ServerSocket> socket = SystemFactory::CreateServerSocket();
    try {
        socket->BindAndListen(host, port);
    } catch (const Throwable& exception) {
        EXPECT_TRUE(socket->GetDescriptors().empty());
        return exception.what();
    }
    return "no failure";
}

class ServerSocketTest : public testing::Test {
  protected:
    static void SetUpTestSuite() { EnterNetworkNamespace(); }
};

TEST_F(ServerSocketTest, NamesTheNameOrAddressThatFails) {
    EXPECT_THAT(TextOfFailure<IOException>("no-such-host.invalid", kPort),
                HasSubstr("no-such-host.invalid port 9996: the name does not resolve"));
    EXPECT_THAT(TextOfFailure<IOException>("192.0.2.1", kPort),
                HasSubstr("at 192.0.2.1: Cannot assign requested address"));
    EXPECT_THAT(TextOfFailure<IOException>("2001:db8::1", kPort),
                HasSubstr("at 2001:db8::1: Cannot assign requested address"));
}

// The namespace without IPv6, as long as it lives.
class WithoutIPv6 {
  public:
    WithoutIPv6() { Set('1'); }
    ~WithoutIPv6() { Set('0'); }
    WithoutIPv6(const WithoutIPv6&) = delete;
    WithoutIPv6& operator=(const WithoutIPv6&) = delete;
    bool Works() const { return works; }

  private:
    void Set(char value) {
        std::ofstream setting("/proc/sys/net/ipv6/conf/lo/disable_ipv6");
        works = static_cast<bool>(setting << value << std::flush);
    }

    bool works = false;
};

TEST_F(ServerSocketTest, WorksWithoutAnAddressFamilyThatTheHostLacks) {
    const WithoutIPv6 withoutIPv6;
    if (!withoutIPv6.Works()) {
        GTEST_SKIP() << "the settings of IPv6 cannot be changed here";
    }
    const Ref<ServerSocket> socket = SystemFactory::CreateServerSocket();
    socket->BindAndListen("localhost", kPort);
    EXPECT_THAT(ListenedAddresses(socket), UnorderedElementsAre("127.0.0.1 port 9996"));
    EXPECT_THAT(TextOfFailure<IOException>("::1", kPort), HasSubstr("at ::1"));
}

// /etc/hosts with another content, as long as it lives.
class HostsFile {
  public:
    explicit HostsFile(const std::string& text) {
        EnterMountNamespace();
        const std::string path = directory.Path() + "hosts";
        std::ofstream(path) << text;
        EXPECT_EQ(::mount(path.c_str(), "/etc/hosts", nullptr, MS_BIND, nullptr), 0);
    }
    ~HostsFile() { EXPECT_EQ(::umount2("/etc/hosts", MNT_DETACH), 0); }
    HostsFile(const HostsFile&) = delete;
    HostsFile& operator=(const HostsFile&) = delete;

  private:
    TemporaryDirectory directory;
};

TEST_F(ServerSocketTest, KeepsLocalhostOnLoopbackWhateverTheResolverSays) {
    const HostsFile hosts(
        "127.0.0.2 localhost\n"
        "192.0.2.7 localhost\n"
        "127.0.0.1 other\n");
    const Ref<ServerSocket> socket = SystemFactory::CreateServerSocket();
    socket->BindAndListen("localhost", kPort);
    EXPECT_THAT(
        ListenedAddresses(socket),
        UnorderedElementsAre("127.0.0.1 port 9996", "::1 port 9996", "127.0.0.2 port 9996"));
}

TEST_F(ServerSocketTest, ResolvesLocalhostWithoutAHostsFile) {
    const HostsFile hosts("");
    const Ref<ServerSocket> socket = SystemFactory::CreateServerSocket();
    socket->BindAndListen("localhost", kPort);
    EXPECT_THAT(ListenedAddresses(socket),
                UnorderedElementsAre("127.0.0.1 port 9996", "::1 port 9996"));
}

}  // namespace
}  // namespace Pellmar::System
