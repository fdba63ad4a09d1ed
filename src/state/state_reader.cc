// Reads the file instead of mapping it: truncating the file would kill a process that maps it.
#include "state/state_reader.h"

#include "platform/sys/host_root.h"
#include "platform/sys/owned_fd.h"

#include <algorithm>
#include <ctime>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Sentrel {

using std::chrono::microseconds;
using std::chrono::system_clock;

namespace {

constexpr int kMaxAttempts = 1000;

bool ReadAt(int descriptor, std::size_t offset, void* target, std::size_t size) {
    return ::pread(descriptor, target, size, static_cast<off_t>(offset)) ==
           static_cast<ssize_t>(size);
}

// Only while the daemon that created the file is running is the lock unavailable.
bool IsKept(int descriptor) { return ::flock(descriptor, LOCK_SH | LOCK_NB) != 0; }

// Reads an entry that begins with its sequence. The entry is consistent if the sequence was the
// same even number before and after reading it.
template <typename Entry>
bool ReadEntry(int descriptor, std::size_t offset, Entry& entry) {
    for (int attempt = 0; attempt < kMaxAttempts; ++attempt) {
        std::uint32_t before = 0;
        std::uint32_t after = 0;
        if (!ReadAt(descriptor, offset, &before, sizeof(before)) ||
            !ReadAt(descriptor, offset, &entry, sizeof(entry)) ||
            !ReadAt(descriptor, offset, &after, sizeof(after))) {
            return false;
        }
        if (before == after && before % 2 == 0) {
            return true;
        }
    }
    return false;  // the writer was killed in the middle of a change
}

system_clock::time_point FromMicroseconds(std::int64_t since1970) {
    return system_clock::time_point(microseconds(since1970));
}

system_clock::time_point FromMonotonic(std::int64_t time) {
    timespec now{};
    (void)::clock_gettime(CLOCK_MONOTONIC, &now);  // cannot fail for this clock
    return system_clock::now() + microseconds(time - now.tv_sec * 1'000'000 - now.tv_nsec / 1000);
}

std::optional<system_clock::time_point> TimeIfSet(std::int64_t since1970) {
    return since1970 == 0 ? std::nullopt : std::optional(FromMicroseconds(since1970));
}

std::vector<RefusedPost> RefusalsOf(const StateRefusals& refusals) {
    std::vector<RefusedPost> posts;
    for (const StateRefusal& refusal : refusals.last) {
        if (refusal.time != 0 && refusal.nameLength <= refusal.name.size()) {
            posts.push_back({.time = FromMicroseconds(refusal.time),
                             .status = refusal.status,
                             .name = std::string(refusal.name.data(), refusal.nameLength)});
        }
    }
    return posts;
}

PluginState StateOf(const StateEntry& entry) {
    return {.name = std::string(entry.name.data(), entry.nameLength),
            .queue = entry.queue,
            .nextLaunch = FromMonotonic(entry.nextLaunch),
            .start = TimeIfSet(entry.runStart),
            .end = TimeIfSet(entry.runEnd),
            .memoryKill = TimeIfSet(entry.memoryKill),
            .run = entry.run,
            .pid = entry.pid,
            .error = entry.error};
}

}  // namespace

const PluginState* DaemonState::Find(std::string_view name) const {
    const auto found = std::find_if(plugins.begin(), plugins.end(),
                                    [name](const auto& plugin) { return plugin.name == name; });
    return found == plugins.end() ? nullptr : &*found;
}

std::optional<DaemonState> ReadDaemonState() {
    const std::string path = Sys::HostPath(kStatePath);
    const Sys::OwnedFd file(::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    StateHeader header{};
    if (!file.IsOpen() || !IsKept(file.Get()) || !ReadAt(file.Get(), 0, &header, sizeof(header)) ||
        header.magic != kStateMagic || header.version != kStateVersion ||
        header.pluginCount > kMaxStatePlugins) {
        return std::nullopt;
    }
    DaemonState state{.started = FromMicroseconds(header.started),
                      .counts = header.counts,
                      .plugins = {},
                      .refusals = {}};
    if (!ReadEntry(file.Get(), offsetof(StateHeader, refusals), header.refusals)) {
        return std::nullopt;
    }
    state.refusals = RefusalsOf(header.refusals);
    for (std::size_t i = 0; i < header.pluginCount; ++i) {
        StateEntry entry{};
        if (!ReadEntry(file.Get(), sizeof(StateHeader) + i * sizeof(StateEntry), entry) ||
            entry.nameLength >= entry.name.size()) {
            return std::nullopt;
        }
        state.plugins.push_back(StateOf(entry));
    }
    return state;
}

}  // namespace Sentrel
