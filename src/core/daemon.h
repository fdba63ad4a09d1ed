// The daemon's run phase: its parts, started in order, the wait for the end, the teardown. Getting
// the framework ready and reading the command line is main's.
#pragma once

#include "intake/endpoint.h"
#include "platform/pellmar/config.h"
#include "platform/pellmar/object.h"
#include "quon/endpoint/endpoint.h"

#include <memory>
#include <string>

namespace Sentrel {

// One a process. Main thread, after InitApp.
class Daemon {
  public:
    Daemon();
    ~Daemon();

    // Runs until the framework ends the application and then ends the process: with status 0 after
    // the teardown; or with status 1, one level-3 line and nothing torn down, when a part cannot be
    // started or the run loop fails. `reportDirectory` ends in "/", or is empty.
    [[noreturn]] void Run(const std::string& reportDirectory);

  private:
    void Start(const std::string& reportDirectory);
    void TearDown();

    Pellmar::Ref<Pellmar::Service::ConfigReader> configReader;
    Pellmar::Ref<Endpoint> intakeEndpoint;
    std::unique_ptr<boost::asio::io_context> ioService;
    Pellmar::Ref<HealthApi::Endpoint> apiEndpoint;
};

}  // namespace Sentrel
