// A host with a daemon, in a directory and a network namespace of the test's own, and the
// operator's tool run against it.
#pragma once

#include "support/scenario.h"
#include "support/tool_run.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace Test {

class ToolHost : public Scenario {
  protected:
    // With an empty report directory where the tool looks for it.
    ToolHost();

    // Starts the daemon and waits until it serves; throws when it does not. `preparation` as in
    // DaemonOptions.
    void StartDaemon(const std::string& cgroupRoot = "", const std::string& preparation = "");
    // The tool with this host as its root.
    ToolResult Run(const std::vector<std::string>& arguments) const;
    // Its output; it ends well.
    std::string OutputOf(const std::vector<std::string>& arguments) const;
    // A token made by the tool, in a file. Gives the file's path.
    std::string TokenFile(const std::string& name, std::vector<std::string> issueOptions) const;
    std::string ReportDirectory() const;
    // Posts a report to the daemon; `unstructured` is JSON text.
    static void Post(const std::string& name, int status,
                     std::string_view unstructured = R"({"reason": "why"})");
};

}  // namespace Test
