#include "core/status_line.h"

#include "platform/pellmar/service/app.h"
#include "platform/pellmar/work/scheduler.h"
#include "state/state_writer.h"

#include <atomic>
#include <chrono>
#include <cstdlib>

namespace Sentrel {

namespace {

constexpr std::chrono::microseconds kInterval = std::chrono::seconds(10);

// Set from the first change until the line is sent, so that at most one run is pending.
std::atomic<bool>& IsPending() {
    static std::atomic<bool> isPending{false};
    return isPending;
}

void Tell(Pellmar::System::ScheduledItem* /*item*/) {
    IsPending() = false;
    Pellmar::Service::GetApp().SendStatus(StateWriter::OfThisProcess().StatusText());
}

void SendStatusLater() {
    if (!IsPending().exchange(true)) {
        Pellmar::Ref<Pellmar::System::ScheduledItem> item;
        Pellmar::Service::GetApp().GetScheduler().Schedule(Tell, kInterval.count(), item);
    }
}

}  // namespace

void KeepStatusLine() {
    // NOLINTNEXTLINE(concurrency-mt-unsafe): nothing in this process changes the environment
    if (std::getenv("NOTIFY_SOCKET") != nullptr) {
        StateWriter::OfThisProcess().SetChangeListener(SendStatusLater);
    }
}

}  // namespace Sentrel
