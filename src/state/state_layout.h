// The layout of the state file, /run/korvex/sentrel/state: what the running daemon knows about its
// plugins, and its counters. Byte order and alignment are the machine's; times are in microseconds.
// The running daemon holds an exclusive flock(2) on the file.
//
//      0   8  "SENTRELS"
//      8   4  version: 2
//     12   4  number of plugins
//     16   8  start of the daemon, since 1970
//     24  64  eight counters of 8 bytes, in the order of StateCount
//     88   4  sequence of the refused posts, like that of a plugin
//     92   4  posts refused so far, modulo 2^32; number N stands at N modulo 16 of what follows
//     96      the last 16 posts that were refused, 128 bytes each:
//   2144      one entry of 312 bytes for each plugin:
//
//  Of a refused post:
//      0   8  when, since 1970; 0: none yet
//      8   4  status that it was answered with; 0: its body did not arrive whole
//     12   4  length of the name
//     16 112  name of the report, cut to that length
//
//  Of a plugin:
//      0   4  sequence: odd while the daemon writes the entry; a reader's copy is consistent if the
//             sequence was the same even number before and after
//      4   4  queue: 0 fast, 1 medium, 2 slow
//      8   8  next launch, by CLOCK_MONOTONIC
//     16   8  last run: start, since 1970; 0 before the first
//     24   8  last run: end, since 1970; 0 while it runs, or if it did not start
//     32   4  last run: process id
//     36   4  last run: RunState
//     40   4  last run: error number that prevented the start
//     44   4  length of the name
//     48   8  last kill by the kernel for lack of memory, since 1970; 0: none
//     56 256  name, then zeros
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace Sentrel {

// Host paths.
inline constexpr const char* kStateDirectory = "/run/korvex/sentrel";
inline constexpr const char* kStatePath = "/run/korvex/sentrel/state";

inline constexpr std::array<char, 8> kStateMagic{'S', 'E', 'N', 'T', 'R', 'E', 'L', 'S'};
inline constexpr std::uint32_t kStateVersion = 2;
// Plugins beyond this number run without an entry.
inline constexpr std::size_t kMaxStatePlugins = 4096;

enum class StateCount : std::uint8_t {
    PostsStored,
    PostsRefused,
    Launches,
    LaunchesRefused,  // by the check of the resource group, or because the exec failed
    Kills,            // SIGTERM to plugins still running at their next turn
    MemoryKills,      // by the kernel, in the plugins' group
    CallsSucceeded,   // of the API
    CallsFailed
};
inline constexpr std::size_t kStateCounts = 8;

enum class RunState : std::uint32_t {
    None,  // not launched yet
    Running,
    Ended,       // by itself, or by another process's signal
    Terminated,  // after the daemon's SIGTERM
    MemoryKill,  // the kernel killed a process in the plugins' group for lack of memory
    NotStarted   // launch refused, or exec failed
};

struct StateRefusal {
    std::int64_t time;
    std::int32_t status;
    std::uint32_t nameLength;
    std::array<char, 112> name;
};
static_assert(sizeof(StateRefusal) == 128);

struct StateRefusals {
    std::uint32_t sequence;
    std::uint32_t count;
    std::array<StateRefusal, 16> last;
};

struct StateHeader {
    std::array<char, 8> magic;
    std::uint32_t version;
    std::uint32_t pluginCount;
    std::int64_t started;
    std::array<std::uint64_t, kStateCounts> counts;
    StateRefusals refusals;
};
static_assert(offsetof(StateHeader, refusals) == 88 && sizeof(StateHeader) == 2144);

struct StateEntry {
    std::uint32_t sequence;
    std::uint32_t queue;
    std::int64_t nextLaunch;
    std::int64_t runStart;
    std::int64_t runEnd;
    std::int32_t pid;
    RunState run;
    std::int32_t error;
    std::uint32_t nameLength;
    std::int64_t memoryKill;
    std::array<char, 256> name;
};
static_assert(sizeof(StateEntry) == 312);

struct StateLayout {
    StateHeader header;
    std::array<StateEntry, kMaxStatePlugins> plugins;
};
static_assert(offsetof(StateLayout, plugins) == sizeof(StateHeader));

}  // namespace Sentrel
