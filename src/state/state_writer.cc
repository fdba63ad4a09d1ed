#include "state/state_writer.h"

#include "platform/pellmar/exceptions.h"
#include "platform/sys/host_root.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <exception>
#include <filesystem>
#include <new>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <unistd.h>

namespace Sentrel {

using std::chrono::microseconds;
using std::chrono::system_clock;

namespace {

StateLayout* MapLayout(int descriptor, int flags) {
    void* const memory =
        ::mmap(nullptr, sizeof(StateLayout), PROT_READ | PROT_WRITE, flags, descriptor, 0);
    if (memory == MAP_FAILED) {
        throw std::bad_alloc();
    }
    return static_cast<StateLayout*>(memory);
}

// Allocates the file's blocks up to `size`: storing into a mapped page that the file system cannot
// provide would kill the process.
int Allocate(int descriptor, std::size_t size) {
    return ::posix_fallocate(descriptor, 0, static_cast<off_t>(size));
}

std::size_t SizeWith(std::size_t plugins) {
    return sizeof(StateHeader) + plugins * sizeof(StateEntry);
}

std::int64_t Since1970(system_clock::time_point time) {
    return std::chrono::duration_cast<microseconds>(time.time_since_epoch()).count();
}

std::string Counted(std::uint64_t count, const char* one, const std::string& more = "") {
    return std::to_string(count) + " " +
           (count == 1     ? one
            : more.empty() ? std::string(one) + "s"
                           : more);
}

std::int64_t MonotonicNow() {
    timespec now{};
    (void)::clock_gettime(CLOCK_MONOTONIC, &now);  // cannot fail for this clock
    return now.tv_sec * 1'000'000 + now.tv_nsec / 1000;
}

// "09:15:12Z": the time of the day in UTC of a time by CLOCK_MONOTONIC.
std::string TimeOfDay(std::int64_t monotonic) {
    const std::time_t time =
        system_clock::to_time_t(system_clock::now() + microseconds(monotonic - MonotonicNow()));
    std::tm utc{};
    (void)::gmtime_r(&time, &utc);  // fails for years beyond an int only
    std::array<char, 16> text{};
    return {text.data(), std::strftime(text.data(), text.size(), "%H:%M:%SZ", &utc)};
}

// Creates a new, locked file, to be renamed to the state file later. Throws Pellmar::IOException.
Sys::OwnedFd CreateLocked(const std::string& path) {
    (void)::unlink(path.c_str());  // a leftover; anything that remains is refused below
    Sys::OwnedFd file(
        ::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0640));
    if (!file.IsOpen() || ::flock(file.Get(), LOCK_EX | LOCK_NB) != 0) {
        throw Pellmar::IOException("Cannot create " + path, errno);
    }
    if (const int error = Allocate(file.Get(), SizeWith(0)); error != 0) {
        throw Pellmar::IOException("Cannot allocate " + path, error);
    }
    return file;
}

}  // namespace

// Marks what has that sequence as changing while this object exists.
class StateWriter::Change {
  public:
    explicit Change(std::uint32_t& word) : sequence(word) {
        sequence.store(sequence.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
        std::atomic_thread_fence(std::memory_order_release);
    }
    ~Change() {
        sequence.store(sequence.load(std::memory_order_relaxed) + 1, std::memory_order_release);
    }
    Change(const Change&) = delete;
    Change& operator=(const Change&) = delete;

  private:
    std::atomic_ref<std::uint32_t> sequence;
};

StateWriter& StateWriter::OfThisProcess() {
    static auto& writer = *new StateWriter;
    return writer;
}

StateWriter::StateWriter() : layout(MapLayout(-1, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE)) {}

StateWriter::~StateWriter() {
    (void)::munmap(layout, sizeof(StateLayout));  // cannot fail for its own mapping
}

void StateWriter::Open(const Pellmar::Ref<Pellmar::Service::Logger>& logger) {
    try {
        const std::string path = Sys::HostPath(kStatePath);
        const std::string newPath = path + ".new";
        std::filesystem::create_directories(Sys::HostPath(kStateDirectory));
        Sys::OwnedFd created = CreateLocked(newPath);
        StateLayout* const mapped = MapLayout(created.Get(), MAP_SHARED);
        mapped->header.version = kStateVersion;
        mapped->header.started = Since1970(system_clock::now());
        mapped->header.magic = kStateMagic;
        if (std::rename(newPath.c_str(), path.c_str()) != 0) {
            const int error = errno;
            (void)::munmap(mapped, sizeof(StateLayout));  // cannot fail for its own mapping
            throw Pellmar::IOException("Cannot rename it to " + path, error);
        }
        (void)::munmap(layout, sizeof(StateLayout));  // likewise
        layout = mapped;
        file = std::move(created);
    } catch (const std::exception& exception) {
        LogInternal(logger, 5, "No state file, so sentrelctl estimates the next launches: %1",
                    exception.what());
    }
}

void StateWriter::Count(StateCount what, std::uint64_t number) {
    std::atomic_ref(layout->header.counts[static_cast<std::size_t>(what)])
        .fetch_add(number, std::memory_order_relaxed);
    if (what == StateCount::PostsStored || what == StateCount::Launches) {
        CallListener();
    }
}

void StateWriter::SetNames(std::size_t count) { names = count; }

void StateWriter::SetChangeListener(std::function<void()> changeListener) {
    listener = std::move(changeListener);
}

void StateWriter::CallListener() const {
    if (listener) {
        listener();
    }
}

std::string StateWriter::StatusText() {
    const auto count = [this](StateCount what) {
        return std::atomic_ref(layout->header.counts[static_cast<std::size_t>(what)])
            .load(std::memory_order_relaxed);
    };
    std::string text = Counted(names, "name") + ", " +
                       Counted(count(StateCount::PostsStored), "post") + ", " +
                       Counted(count(StateCount::Launches), "launch", "launches");
    const Sys::MutexLock guard(lock);
    std::int64_t next = 0;
    for (std::size_t i = 0; i < layout->header.pluginCount; ++i) {
        const std::int64_t own = layout->plugins[i].nextLaunch;
        next = next == 0 || (own != 0 && own < next) ? own : next;
    }
    return next == 0 ? text : text + "; next launch " + TimeOfDay(next);
}

void StateWriter::SetRefused(std::string_view name, int status) {
    Count(StateCount::PostsRefused);
    const Sys::MutexLock guard(lock);
    StateRefusals& refusals = layout->header.refusals;
    const Change change(refusals.sequence);
    StateRefusal& refusal = refusals.last[refusals.count++ % refusals.last.size()];
    refusal.time = Since1970(system_clock::now());
    refusal.status = status;
    refusal.nameLength =
        static_cast<std::uint32_t>(name.copy(refusal.name.data(), refusal.name.size()));
}

void StateWriter::AddPlugin(std::string_view name, std::uint32_t queue) {
    const std::size_t count = layout->header.pluginCount;
    if (count == kMaxStatePlugins || name.size() >= sizeof(StateEntry::name) ||
        (file.IsOpen() && Allocate(file.Get(), SizeWith(count + 1)) != 0)) {
        return;
    }
    StateEntry& entry = layout->plugins[count];
    entry.queue = queue;
    entry.nameLength = static_cast<std::uint32_t>(name.size());
    name.copy(entry.name.data(), name.size());
    std::atomic_ref(layout->header.pluginCount)
        .store(static_cast<std::uint32_t>(count + 1), std::memory_order_release);
}

void StateWriter::SetNextLaunch(std::string_view name, std::chrono::seconds fromNow) {
    const Sys::MutexLock guard(lock);
    if (StateEntry* const entry = Find(name)) {
        const Change change(entry->sequence);
        entry->nextLaunch = MonotonicNow() + microseconds(fromNow).count();
    }
}

void StateWriter::SetStarted(std::string_view name, std::int32_t pid) {
    Count(StateCount::Launches);
    const Sys::MutexLock guard(lock);
    if (StateEntry* const entry = Find(name)) {
        const Change change(entry->sequence);
        entry->runStart = Since1970(system_clock::now());
        entry->runEnd = 0;
        entry->pid = pid;
        entry->run = RunState::Running;
        entry->error = 0;
    }
}

void StateWriter::SetNotStarted(std::string_view name, int error) {
    Count(StateCount::LaunchesRefused);
    const Sys::MutexLock guard(lock);
    if (StateEntry* const entry = Find(name)) {
        const Change change(entry->sequence);
        entry->runStart = Since1970(system_clock::now());
        entry->runEnd = 0;
        entry->pid = 0;
        entry->run = RunState::NotStarted;
        entry->error = error;
    }
}

void StateWriter::SetTerminated(std::int32_t pid) {
    Count(StateCount::Kills);
    const Sys::MutexLock guard(lock);
    for (std::size_t i = 0; i < layout->header.pluginCount; ++i) {
        StateEntry& entry = layout->plugins[i];
        if (entry.pid == pid && entry.run == RunState::Running) {
            const Change change(entry.sequence);
            entry.run = RunState::Terminated;
        }
    }
}

void StateWriter::SetEnded(std::string_view name, std::int32_t pid, system_clock::time_point time,
                           bool wasMemoryKill) {
    const Sys::MutexLock guard(lock);
    StateEntry* const entry = Find(name);
    if (entry == nullptr || entry->pid != pid || entry->runEnd != 0) {
        return;
    }
    const Change change(entry->sequence);
    entry->runEnd = Since1970(time);
    if (wasMemoryKill) {
        entry->run = RunState::MemoryKill;
        entry->memoryKill = entry->runEnd;
    } else if (entry->run == RunState::Running) {
        entry->run = RunState::Ended;
    }
}

StateEntry* StateWriter::Find(std::string_view name) {
    const auto end = layout->plugins.begin() + layout->header.pluginCount;
    const auto found = std::find_if(layout->plugins.begin(), end, [name](const StateEntry& entry) {
        return name == std::string_view(entry.name.data(), entry.nameLength);
    });
    return found == end ? nullptr : found;
}

}  // namespace Sentrel
