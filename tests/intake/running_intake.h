// The report intake in this process, listening at its own port in a network namespace of the test's
// own, over a report directory of its own.
#pragma once

#include "intake/endpoint.h"
#include "platform/pellmar/config.h"
#include "platform/pellmar/object.h"
#include "support/captured_log.h"
#include "support/host_directory.h"
#include "support/http_client.h"
#include "support/network_namespace.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Test {

// The reader of the daemon's entry of a configuration store in which it is `text`, or missing when
// that is empty. The store's root is one for the process, since it is looked up once.
Pellmar::Ref<Pellmar::Service::ConfigReader> DaemonSettings(std::string_view text = "");

// Listens from construction on and stops at the end.
class RunningIntake {
  public:
    RunningIntake();

    const HostDirectory& Host() const { return host; }
    const CapturedLog& Log() const { return log; }
    // Ends in "/".
    std::string Directory() const { return host.ReportDirectory() + "/"; }
    std::string PathOf(std::string_view fileName) const { return host.ReportPath(fileName); }

    // How many lines the handler and the store have logged so far.
    std::size_t HandlerLineCount() const { return HandlerLinesFrom(0).size(); }
    // Those from position `start` on, as "LEVEL MESSAGE".
    std::vector<std::string> HandlerLinesFrom(std::size_t start) const;
    // Their level-3 messages.
    std::vector<std::string> Failures() const;

  private:
    struct Namespace {
        Namespace() { EnterNetworkNamespace(); }
    };

    const Namespace network;  // before the first socket
    const HostDirectory host;
    const CapturedLog log;  // outlives what logs
    Pellmar::Ref<Sentrel::Endpoint> endpoint;
};

}  // namespace Test
