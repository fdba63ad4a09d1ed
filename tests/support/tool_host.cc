#include "support/tool_host.h"

#include "support/network_namespace.h"

#include <filesystem>
#include <stdexcept>

namespace Test {

void ToolHost::SetUpTestSuite() { EnterNetworkNamespace(); }

ToolHost::ToolHost() {
    const std::filesystem::path metadata =
        host.Root() + "/usr/lib/korvex/quon/observability_quon_metadata.json";
    std::filesystem::create_directories(metadata.parent_path());
    std::filesystem::copy_file(SENTREL_METADATA_FILE, metadata);
    std::filesystem::create_directories(ReportDirectory());
}

std::string ToolHost::ReportDirectory() const {
    return host.Root() + "/var/lib/korvex/sentrel/reports";
}

void ToolHost::StartDaemon(const std::string& cgroupRoot) {
    DaemonOptions options;
    options.program = SENTREL_DAEMON_PATH;
    options.arguments = {"-r", ReportDirectory()};
    options.root = host.Root();
    options.logLevel = "3";
    options.cgroupRoot = cgroupRoot;
    daemon.emplace(options);
    if (!daemon->WaitUntilReady()) {
        throw std::runtime_error("the daemon ended instead of serving");
    }
}

ToolResult ToolHost::Run(const std::vector<std::string>& arguments) const {
    return RunTool(arguments, {"SENTREL_ROOT=" + host.Root()});
}

std::string ToolHost::OutputOf(const std::vector<std::string>& arguments) const {
    const ToolResult result = Run(arguments);
    EXPECT_EQ(result.status, 0) << result.error;
    EXPECT_EQ(result.error, "");
    return result.output;
}

std::string ToolHost::TokenFile(const std::string& name,
                                std::vector<std::string> issueOptions) const {
    issueOptions.insert(issueOptions.begin(), {"token", "issue", "--subject", name});
    std::string path = host.Base() + name;
    WriteFile(path, Run(issueOptions).output);  // a warning of few entitlements aside
    return path;
}

}  // namespace Test
