#include "plugins/plugin_watch.h"

#include "platform/pellmar/exceptions.h"
#include "platform/pellmar/work/thread_pool.h"

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <utility>

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace Sentrel {

namespace {

Sys::OwnedFd CreateEventCounter() {
    Sys::OwnedFd counter(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (!counter.IsOpen()) {
        throw Pellmar::IOException("Cannot create an event counter for watching plugins", errno);
    }
    return counter;
}

}  // namespace

PluginWatch::PluginWatch(std::function<std::uint64_t()> countMemoryKills,
                         std::function<void(const PluginEnd&)> take)
    : countMemoryKills(std::move(countMemoryKills)),
      take(std::move(take)),
      wake(CreateEventCounter()) {}

PluginWatch::~PluginWatch() {
    Sys::MutexLock guard(lock);
    isStopping = true;
    (void)::eventfd_write(wake.Get(), 1);  // cannot fail below 2^64 - 1
    while (isWatching) {
        stopped.Wait(lock);
    }
}

void PluginWatch::Add(std::string name, std::int32_t pid, Sys::PidFd process) {
    const Sys::MutexLock guard(lock);
    if (!isWatching) {
        // Earlier kills, when no plugin ran, hit processes that plugins had left behind.
        knownMemoryKills = countMemoryKills();
        Pellmar::System::GetThreadPool().Run([this] { Watch(); });
        isWatching = true;
    }
    added.push_back({std::move(name), pid, std::move(process)});
    (void)::eventfd_write(wake.Get(), 1);  // likewise
}

void PluginWatch::Watch() {
    std::vector<Running> running;
    while (TakeAdded(running)) {
        AwaitEnd(running);
        ReportEnded(running);
    }
}

// Returns false if nothing is left to watch.
bool PluginWatch::TakeAdded(std::vector<Running>& running) {
    const Sys::MutexLock guard(lock);
    std::move(added.begin(), added.end(), std::back_inserter(running));
    added.clear();
    if (!running.empty() && !isStopping) {
        return true;
    }
    isWatching = false;
    stopped.NotifyAll();
    return false;
}

void PluginWatch::AwaitEnd(const std::vector<Running>& running) const {
    std::vector<pollfd> entries = {{wake.Get(), POLLIN, 0}};
    for (const Running& plugin : running) {
        if (!plugin.process.IsOpen()) {
            return;
        }
        entries.push_back({plugin.process.Get(), POLLIN, 0});
    }
    (void)::poll(entries.data(), entries.size(), -1);  // interrupted: the caller checks again
    eventfd_t count = 0;
    (void)::eventfd_read(wake.Get(), &count);  // fails unless another thread has woken this one
}

void PluginWatch::ReportEnded(std::vector<Running>& running) {
    std::erase_if(running, [this](const Running& plugin) {
        if (!plugin.process.HasEnded()) {
            return false;
        }
        const std::uint64_t kills = countMemoryKills();
        // Fewer than before: the group was recreated.
        const std::uint64_t newKills =
            kills > knownMemoryKills ? kills - knownMemoryKills : std::uint64_t{0};
        knownMemoryKills = kills;
        take({plugin.name, plugin.pid, std::chrono::system_clock::now(), newKills});
        return true;
    });
}

}  // namespace Sentrel
