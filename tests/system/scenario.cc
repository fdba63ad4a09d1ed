#include "system/scenario.h"

#include "support/network_namespace.h"

#include <filesystem>
#include <stdexcept>

#include <netdb.h>
#include <sys/socket.h>

namespace {

class NamespaceEnvironment : public testing::Environment {
  public:
    void SetUp() override { Test::EnterNetworkNamespace(); }
};

// Owned by GoogleTest. Not when tests are only listed.
[[maybe_unused]] const testing::Environment* const kNamespace =
    testing::AddGlobalTestEnvironment(new NamespaceEnvironment);

}  // namespace

Scenario::Scenario() {
    const std::filesystem::path metadata = host.Root() + kMetadataPath;
    std::filesystem::create_directories(metadata.parent_path());
    std::filesystem::copy_file(SENTREL_METADATA_FILE, metadata);
}

::Test::DaemonOptions Scenario::Options() const {
    ::Test::DaemonOptions options;
    options.program = SENTREL_DAEMON_PATH;
    options.arguments = {"-r", host.ReportDirectory()};
    options.root = host.Root();
    return options;
}

::Test::DaemonProcess& Scenario::Start(const ::Test::DaemonOptions& options) {
    daemon.emplace(options);
    if (!daemon->WaitUntilReady()) {
        throw std::runtime_error("the daemon ended instead of serving");
    }
    return *daemon;
}

std::vector<std::string> Scenario::LogFrom(std::size_t first, std::string_view prefix) const {
    std::vector<std::string> found;
    const std::vector<std::string> lines = daemon->LogLines();
    for (std::size_t index = first; index < lines.size(); ++index) {
        if (lines[index].starts_with(prefix)) {
            found.push_back(lines[index]);
        }
    }
    return found;
}

TakenPort::TakenPort(const char* address, int port) {
    addrinfo* place = nullptr;
    EXPECT_EQ(::getaddrinfo(address, std::to_string(port).c_str(), nullptr, &place), 0);
    socket.Reset(::socket(place->ai_family, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const int on = 1;  // connections of an earlier daemon may still be fading away
    (void)::setsockopt(socket.Get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
    EXPECT_EQ(::bind(socket.Get(), place->ai_addr, place->ai_addrlen), 0);
    EXPECT_EQ(::listen(socket.Get(), 1), 0);
    ::freeaddrinfo(place);
}
