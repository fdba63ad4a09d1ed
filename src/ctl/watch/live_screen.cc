// Runs one loop over the host, the keys, the signals and the next full second.
#include "ctl/watch/live_screen.h"

#include "ctl/show/failure.h"
#include "ctl/watch/live_list.h"
#include "ctl/watch/terminal_screen.h"
#include "platform/sys/owned_fd.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>

#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

namespace Ctl {

namespace {

// Blocks the signals that end or resize a screen and delivers them through a descriptor; unblocks
// them at its end.
class ScreenSignals {
  public:
    ScreenSignals() {
        sigset_t taken;
        (void)::sigemptyset(&taken);  // these cannot fail for signals that exist
        for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGWINCH}) {
            (void)::sigaddset(&taken, signal);
        }
        (void)::pthread_sigmask(SIG_BLOCK, &taken, &before);
        descriptor.Reset(::signalfd(-1, &taken, SFD_CLOEXEC | SFD_NONBLOCK));
        if (!descriptor.IsOpen()) {
            throw Failure("cannot wait for signals", errno);
        }
    }
    ~ScreenSignals() { (void)::pthread_sigmask(SIG_SETMASK, &before, nullptr); }
    ScreenSignals(const ScreenSignals&) = delete;
    ScreenSignals& operator=(const ScreenSignals&) = delete;

    int Descriptor() const { return descriptor.Get(); }
    // The next signal; 0 if there is none.
    int Next() const {
        signalfd_siginfo signal{};
        return ::read(descriptor.Get(), &signal, sizeof signal) == sizeof signal
                   ? static_cast<int>(signal.ssi_signo)
                   : 0;
    }

  private:
    sigset_t before{};
    Sys::OwnedFd descriptor;
};

int MillisecondsToNextSecond() {
    const auto now = std::chrono::duration_cast<std::chrono::milliseconds>(
        std::chrono::system_clock::now().time_since_epoch());
    return 1000 - static_cast<int>(now.count() % 1000);
}

// Handles the signals; false if one of them ends the screen.
bool TakeSignals(const ScreenSignals& signals, TerminalScreen& screen) {
    while (const int signal = signals.Next()) {
        if (signal != SIGWINCH) {
            return false;
        }
        screen.Resize();
    }
    return true;
}

bool TakeKeys(TerminalScreen& screen, LiveList& list) {
    for (;;) {
        const KeyPress press = screen.ReadKey();
        if (press.key == KeyPress::Key::None) {
            return true;
        }
        if (!list.Press(press)) {
            return false;
        }
    }
}

}  // namespace

void ShowLive(HostWatch& watch) {
    const ScreenSignals signals;
    TerminalScreen screen;
    LiveList list(watch);
    for (;;) {
        list.Draw(screen);
        std::array<pollfd, 3> entries = {{{watch.Descriptor(), POLLIN, 0},
                                          {STDIN_FILENO, POLLIN, 0},
                                          {signals.Descriptor(), POLLIN, 0}}};
        (void)::poll(entries.data(), entries.size(), MillisecondsToNextSecond());
        if (entries[0].revents != 0) {
            list.Take(watch.Look());
        }
        const bool isGone = (entries[1].revents & (POLLHUP | POLLERR | POLLNVAL)) != 0;
        if (isGone || !TakeSignals(signals, screen) || !TakeKeys(screen, list)) {
            return;
        }
    }
}

}  // namespace Ctl
