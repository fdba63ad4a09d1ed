#include "ctl/watch/directory_events.h"

#include "store/report_name.h"

#include <array>
#include <cstddef>
#include <utility>

#include <sys/inotify.h>

namespace Ctl {

namespace {

// A stored file is complete before its link is created, so only events of links matter.
constexpr std::uint32_t kWatched = IN_CREATE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE |
                                   IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;
constexpr std::uint32_t kLost = IN_Q_OVERFLOW | IN_IGNORED | IN_DELETE_SELF | IN_MOVE_SELF;

}  // namespace

DirectoryEvents::DirectoryEvents(std::string directory) : directory(std::move(directory)) {
    Restart();
}

void DirectoryEvents::Restart() {
    if (!events.IsOpen()) {
        events.Reset(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    }
    isWatching =
        events.IsOpen() && ::inotify_add_watch(events.Get(), directory.c_str(), kWatched) >= 0;
}

bool DirectoryEvents::AddChangedNames(std::set<std::string>& names) {
    alignas(inotify_event) std::array<char, 16384> buffer{};
    bool isComplete = true;
    for (ssize_t count = 0; (count = ::read(events.Get(), buffer.data(), buffer.size())) > 0;) {
        for (const char* next = buffer.data(); next < buffer.data() + count;) {
            const auto& event = *reinterpret_cast<const inotify_event*>(next);
            next += sizeof(inotify_event) + event.len;
            if ((event.mask & kLost) != 0) {
                isComplete = false;
                isWatching = isWatching && (event.mask & IN_Q_OVERFLOW) != 0;
            }
            if (event.len != 0) {
                const std::string file = event.name;
                if (const auto name = Sentrel::NameOfLink(file)) {
                    names.emplace(*name);
                }
            }
        }
    }
    return isComplete;
}

}  // namespace Ctl
