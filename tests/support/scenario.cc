#include "support/scenario.h"

#include "support/network_namespace.h"

#include <filesystem>
#include <stdexcept>

namespace Test {

void Scenario::SetUpTestSuite() { EnterNetworkNamespace(); }

Scenario::Scenario() {
    const std::filesystem::path metadata = host.Root() + kMetadataPath;
    std::filesystem::create_directories(metadata.parent_path());
    std::filesystem::copy_file(SENTREL_METADATA_FILE, metadata);
}

DaemonOptions Scenario::Options() const {
    DaemonOptions options;
    options.program = SENTREL_DAEMON_PATH;
    options.arguments = {"-r", host.ReportDirectory()};
    options.root = host.Root();
    return options;
}

DaemonProcess& Scenario::Start(const DaemonOptions& options) {
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

}  // namespace Test
