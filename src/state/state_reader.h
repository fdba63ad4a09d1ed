// The tool's side of the state file (state_layout).
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
    // Of the last run, or of the launch that was prevented; unset before the first.
    std::optional<std::chrono::system_clock::time_point> start;
    std::optional<std::chrono::system_clock::time_point> end;  // unset while it runs
    RunState run = RunState::None;
    std::int32_t pid = 0;
    int error = 0;  // error number that prevented the start, or 0
};

struct DaemonState {
    std::chrono::system_clock::time_point started;
    std::array<std::uint64_t, kStateCounts> counts{};  // by StateCount
    std::vector<PluginState> plugins;                  // in the order of discovery

    // Null when the daemon does not know the plugin.
    const PluginState* Find(std::string_view name) const;
};

// What the running daemon knows. Nothing when it keeps no file that this user may read, or does not
// run: what an earlier one left does not count. Never fails otherwise.
std::optional<DaemonState> ReadDaemonState();

}  // namespace Sentrel
