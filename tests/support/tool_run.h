// One run of the operator's tool as a child process.
#pragma once

#include "platform/sys/owned_fd.h"

#include <string>
#include <string_view>
#include <vector>

namespace Test {

enum class User {
    Own,
    Nobody  // owns nothing; for a test that runs as root
};

struct ToolResult {
    int status = 0;  // the exit status, or -N when signal N ended it
    std::string output;
    std::string error;
};

// Runs it to its end with `environment` ("NAME=VALUE") and nothing else in its environment, and
// with `input` as its standard input. Throws std::system_error when there can be no process.
ToolResult RunTool(const std::vector<std::string>& arguments,
                   const std::vector<std::string>& environment = {}, User user = User::Own,
                   std::string_view input = "");

// The same with `output` as its standard output.
ToolResult RunToolInto(const Sys::OwnedFd& output, const std::vector<std::string>& arguments);

// It ended with status 1, wrote no result and exactly one line that has `text` in it.
void ExpectFailure(const ToolResult& result, const std::string& text);

}  // namespace Test
