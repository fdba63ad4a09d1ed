#include "support/tool_host.h"

#include "support/http_client.h"
#include "support/stored_report.h"

#include <filesystem>

namespace Test {

ToolHost::ToolHost() { std::filesystem::create_directories(ReportDirectory()); }

std::string ToolHost::ReportDirectory() const {
    return host.Root() + "/var/lib/korvex/sentrel/reports";
}

void ToolHost::StartDaemon(const std::string& cgroupRoot, const std::string& preparation) {
    DaemonOptions options = Options();
    options.arguments = {"-r", ReportDirectory()};
    options.logLevel = "3";
    options.cgroupRoot = cgroupRoot;
    options.preparation = preparation;
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

void ToolHost::Post(const std::string& name, int status, std::string_view unstructured) {
    const ReportText report{.name = name, .status = status, .unstructured = unstructured};
    ASSERT_EQ(HttpClient().Post("/" + name, report.Document()), 200);
}

}  // namespace Test
