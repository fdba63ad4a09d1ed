// The loopback HTTP server on which plugins post their reports: joins port, socket, service and
// handler, and decides nothing about a request.
#pragma once

#include "intake/sentrel_handler.h"
#include "platform/pellmar/config.h"
#include "platform/pellmar/http/http_service.h"
#include "platform/pellmar/log/logger.h"
#include "platform/pellmar/object.h"

#include <string>
#include <vector>

namespace Sentrel {

// Made, started once and released by the main thread.
class Endpoint : public Pellmar::ObjectImpl {
  public:
    Endpoint();
    // Stops the service first.
    ~Endpoint() override;

    // Listens on "localhost" at the configured port when it returns. `reportDirectory` ends in "/",
    // or is empty. Catches nothing: whatever the socket, the handler or the service throws (a port
    // in use, for one) is the caller's.
    void Start(const Pellmar::Ref<Pellmar::Service::ConfigReader>& configReader,
               const std::string& reportDirectory);
    // Names that the bound of report names never refuses; see SentrelHandler. After Start.
    void ReserveNames(std::vector<std::string> pluginNames);

  private:
    Pellmar::Ref<Pellmar::Http::HttpService> httpService;
    Pellmar::Ref<SentrelHandler> handler;
    const Pellmar::Ref<Pellmar::Service::Logger> logger;
};

}  // namespace Sentrel
