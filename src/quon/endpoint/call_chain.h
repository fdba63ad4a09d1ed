// Builds the chain of call handlers, from the audit of every call to the services. The runtime
// implements the links.
#pragma once

#include "platform/pellmar/log/logger.h"
#include "platform/pellmar/object.h"
#include "platform/runtime/call/call.h"
#include "platform/runtime/call/enqueuer.h"
#include "platform/runtime/metadata/metadata.h"

#include <memory>
#include <string>
#include <string_view>

namespace Sentrel::HealthApi {

// The package of the reports service.
inline constexpr std::string_view kPackage = "com.korvex.oru.observability";

// A broken set-up panics with the host's usual format, the source and a number for each check.
inline constexpr const char* kVerifyFormat = "VERIFY %s:%d\n";
inline constexpr const char* kVerifySource = "apps/sentrel/quon/endpoint";

// Returns the outermost link, which publishes the reports in `reportDirectory`. `logger` is the
// endpoint's. Stops the process (Panic) if the authorization metadata is unusable.
std::shared_ptr<Quon::AsyncApiProvider> CreateLocalProvider(
    const std::shared_ptr<Quon::Enqueuer>& enqueuer,
    const std::shared_ptr<Quon::Provider::Metadata::Cli::MetadataContainer>& cliMetadata,
    const std::shared_ptr<Quon::Provider::Metadata::Metamodel::MetadataContainer>& modelMetadata,
    const std::shared_ptr<Quon::Provider::Metadata::Authentication::MetadataContainer>&
        authnMetadata,
    const std::string& reportDirectory, const Pellmar::Ref<Pellmar::Service::Logger>& logger);

}  // namespace Sentrel::HealthApi
