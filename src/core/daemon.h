// The daemon's run phase: starts the parts in order, waits for the end, stops the parts. main.cc
// prepares the framework and reads the command line.
#pragma once

#include "intake/endpoint.h"
#include "platform/pellmar/config.h"
#include "platform/pellmar/object.h"
#include "quon/endpoint/endpoint.h"

#include <memory>
#include <string>

namespace Sentrel {

// One per process. Main thread, after InitApp.
class Daemon {
  public:
    Daemon();
    ~Daemon();

    // Runs until the framework ends the application, stops the parts and exits with status 0. If a
    // part fails to start or the run loop fails, logs one line at level 3 and exits with status 1
    // without stopping anything. `reportDirectory` ends in "/" or is empty.
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
