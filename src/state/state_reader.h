// Reads the state file (state_layout.h), for the operator's tool.
#pragma once

#include "state/state_layout.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Sentrel {

struct PluginState {
    std::string name;
    std::uint32_t queue = 0;  // 0 fast, 1 medium, 2 slow
    std::chrono::system_clock::time_point nextLaunch;
    // The start of the last run, or of the launch that failed; unset before the first.
    std::optional<std::chrono::system_clock::time_point> start;
    std::optional<std::chrono::system_clock::time_point> end;  // unset while it runs
    // Of any run: when the kernel last killed in it for lack of memory.
    std::optional<std::chrono::system_clock::time_point> memoryKill;
    RunState run = RunState::None;
    std::int32_t pid = 0;
    int error = 0;  // the error number that prevented the start, or 0
};

struct RefusedPost {
    std::chrono::system_clock::time_point time;
    int status = 0;    // that it was answered with; 0: its body did not arrive whole
    std::string name;  // of the report, cut to 112 bytes
};

struct DaemonState {
    std::chrono::system_clock::time_point started;
    std::array<std::uint64_t, kStateCounts> counts{};  // by StateCount
    std::vector<PluginState> plugins;                  // in the order of discovery
    std::vector<RefusedPost> refusals;                 // the last few, in no order

    // Null if the daemon does not know the plugin.
    const PluginState* Find(std::string_view name) const;
};

// Reads the state of the running daemon. Returns nothing if it is not running or this user cannot
// read its file; the file of an earlier daemon is ignored. Never fails otherwise.
std::optional<DaemonState> ReadDaemonState();

}  // namespace Sentrel
