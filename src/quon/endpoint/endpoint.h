// The reports API on the network: joins metadata, reports service, call chain, server and the
// thread that runs it all. Each of these is somebody else's.
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

// Made, started once and released by the main thread.
class Endpoint : public Pellmar::ObjectImpl {
  public:
    // `port` is that of both loopback addresses. The context outlives the endpoint.
    Endpoint(std::uint16_t port, boost::asio::io_context& ioService);
    // Stops the context and returns once its run has returned, so that the context may be destroyed
    // then.
    ~Endpoint() override;

    // Serves the reports below `reportDirectory`, which ends in "/" or is empty, when it returns.
    // Stops the process (Panic) when the metadata file cannot be used, or names an operation short.
    // A port that is taken is logged and survived. Throws what is none of these.
    void Start(const std::string& reportDirectory);

  private:
    void StartServer(std::shared_ptr<Quon::AsyncApiProvider> provider);

    const std::uint32_t port;
    const Pellmar::Ref<Pellmar::Service::Logger> logger;
    boost::asio::io_context& ioService;
    std::shared_ptr<Quon::Transport::PicoHttp::AsioTcpApiServer> server;
    std::future<void>
        runEnd;  // ready when the context has been left for good; invalid before Start
};

}  // namespace Sentrel::HealthApi
