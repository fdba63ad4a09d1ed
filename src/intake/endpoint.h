// The loopback HTTP server on which plugins post their reports: connects port, socket, service and
// handler.
#pragma once

#include "intake/sentrel_handler.h"
#include "platform/pellmar/config.h"
#include "platform/pellmar/http/http_service.h"
#include "platform/pellmar/log/logger.h"
#include "platform/pellmar/object.h"

#include <string>
#include <vector>

namespace Sentrel {

// The main thread creates it, starts it once and releases it.
class Endpoint : public Pellmar::ObjectImpl {
  public:
    Endpoint();
    // Stops the service first.
    ~Endpoint() override;

    // Listens on "localhost" at the configured port. `reportDirectory` ends in "/" or is empty.
    // Passes on every exception of the socket, the handler and the service, such as for a port in
    // use.
    void Start(const Pellmar::Ref<Pellmar::Service::ConfigReader>& configReader,
               const std::string& reportDirectory);
    // Exempts these names from the bound on report names; see SentrelHandler. Call it after Start.
    void ReserveNames(std::vector<std::string> pluginNames);

  private:
    Pellmar::Ref<Pellmar::Http::HttpService> httpService;
    Pellmar::Ref<SentrelHandler> handler;
    const Pellmar::Ref<Pellmar::Service::Logger> logger;
};

}  // namespace Sentrel
