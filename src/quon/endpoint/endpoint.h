// The reports API on the network: connects metadata, reports service, call chain and server, and
// runs them on one thread.
#pragma once

#include "platform/pellmar/log/logger.h"
#include "platform/pellmar/object.h"
#include "platform/runtime/call/call.h"
#include "platform/runtime/call/enqueuer.h"

#include <cstdint>
#include <future>
#include <memory>
#include <string>

namespace Quon::Transport::PicoHttp {
class AsioTcpApiServer;
}

namespace Sentrel::HealthApi {

// The main thread creates it, starts it once and releases it.
class Endpoint : public Pellmar::ObjectImpl {
  public:
    // Serves on `port` of both loopback addresses. The context outlives the endpoint.
    Endpoint(std::uint16_t port, boost::asio::io_context& ioService);
    // Stops the context and waits until its run has returned, so that it can be destroyed.
    ~Endpoint() override;

    // Serves the reports below `reportDirectory`, which ends in "/" or is empty. Stops the process
    // (Panic) if the metadata file is unusable or lacks an operation. Logs a port that is in use
    // and continues. Throws any other error.
    void Start(const std::string& reportDirectory);

  private:
    void StartServer(std::shared_ptr<Quon::AsyncApiProvider> provider);

    const std::uint32_t port;
    const Pellmar::Ref<Pellmar::Service::Logger> logger;
    boost::asio::io_context& ioService;
    std::shared_ptr<Quon::Transport::PicoHttp::AsioTcpApiServer> server;
    std::future<void> runEnd;  // ready once the context's run has returned; invalid before Start
};

}  // namespace Sentrel::HealthApi
