// sentrel-notify: follows the reports of this host and runs the hooks of the administrator when one
// becomes worse or recovers. Exits with status 1, after one line on standard error, if it cannot do
// that.
#include "notify/notifier.h"

#include "ctl/host/host.h"
#include "platform/pellmar/service/service_manager.h"
#include "platform/sys/host_root.h"
#include "platform/sys/journal_stream.h"
#include "platform/sys/owned_fd.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <exception>
#include <string>
#include <string_view>
#include <system_error>

#include <sys/signalfd.h>

namespace {

constexpr char kUsage[] = "usage: sentrel-notify [-r DIR]\n";

// Readable once the process is asked to end.
Sys::OwnedFd EndingSignals() {
    sigset_t ending;
    (void)::sigemptyset(&ending);
    (void)::sigaddset(&ending, SIGTERM);
    (void)::sigaddset(&ending, SIGINT);
    (void)::pthread_sigmask(SIG_BLOCK, &ending, nullptr);  // valid signals
    Sys::OwnedFd signals(::signalfd(-1, &ending, SFD_CLOEXEC | SFD_NONBLOCK));
    if (!signals.IsOpen()) {
        throw std::system_error(errno, std::generic_category(), "cannot receive signals");
    }
    return signals;
}

Ctl::Host HostOf(const std::string& directory) {
    Ctl::GivenOptions options;
    options.Add(Ctl::kOfflineOption.name, "");
    if (!directory.empty()) {
        options.Add(Ctl::kReportsOption.name, directory);
    }
    return Ctl::HostOf(options);
}

void Run(const std::string& directory) {
    if (const std::string problem = Sys::HostRootProblem(); !problem.empty()) {
        throw std::runtime_error(problem);
    }
    const Sys::OwnedFd signals = EndingSignals();
    Ctl::HostWatch watch(HostOf(directory), {});
    Notify::Notifier notifier({Sys::HostPath("/etc/korvex/sentrel/notify.json"),
                               Sys::HostPath("/etc/korvex/sentrel/notify.d"),
                               Sys::HostPath("/var/lib/korvex/sentrel-notify/told.json")},
                              watch);
    const Pellmar::Service::ServiceManager manager;
    manager.SendReady();
    notifier.Run(signals.Get());
    manager.SendStopping();
}

}  // namespace

int main(int argc, char* argv[]) {
    std::string directory;
    if (argc == 3 && std::string_view(argv[1]) == "-r") {
        directory = argv[2];
    } else if (argc > 1) {
        (void)std::fputs(kUsage, stderr);
        return 2;
    }
    try {
        Run(directory);
        return 0;
    } catch (const std::exception& exception) {
        const std::string line =
            std::string(Sys::ErrorPrefix()) + "sentrel-notify: " + exception.what() + "\n";
        (void)std::fputs(line.c_str(), stderr);  // there is nowhere else to say it
        return 1;
    }
}
