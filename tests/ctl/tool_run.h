// One run of the operator's tool as a child process.
#pragma once

#include <string>
#include <vector>

namespace CtlTest {

enum class User {
    Own,
    Nobody  // owns nothing; for a test that runs as root
};

struct ToolResult {
    int status = 0;  // the exit status, or -N when signal N ended it
    std::string output;
    std::string error;
};

// Runs it to its end with `environment` ("NAME=VALUE") and nothing else in its environment. Throws
// std::system_error when there can be no process.
ToolResult RunTool(const std::vector<std::string>& arguments,
                   const std::vector<std::string>& environment = {}, User user = User::Own);

// The same with standard output on the file at that path.
ToolResult RunToolInto(const std::string& outputPath, const std::vector<std::string>& arguments);

}  // namespace CtlTest
