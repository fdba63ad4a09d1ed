#include "support/tool_host.h"

#include <filesystem>

namespace Test {

ToolHost::ToolHost() { std::filesystem::create_directories(ReportDirectory()); }

std::string ToolHost::ReportDirectory() const {
    return host.Root() + "/var/lib/korvex/sentrel/reports";
}

void ToolHost::StartDaemon(const std::string& cgroupRoot) {
    DaemonOptions options = Options();
    options.arguments = {"-r", ReportDirectory()};
    options.logLevel = "3";
    options.cgroupRoot = cgroupRoot;
    Start(options);
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
