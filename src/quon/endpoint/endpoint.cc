#include "quon/endpoint/endpoint.h"

#include "platform/bindings/metadata_writer.h"
#include "platform/hostlib/hostlib.h"
#include "platform/pellmar/service/app.h"
#include "platform/runtime/metadata/metadata.h"
#include "platform/runtime/values/localizer.h"
#include "quon/endpoint/call_chain.h"
#include "quon/endpoint/log_adapter.h"
#include "quon/transport/api_server.h"

#include <boost/asio/io_context.hpp>
#include <boost/system/system_error.hpp>

#include <chrono>
#include <cstddef>
#include <exception>
#include <utility>

namespace Sentrel::HealthApi {

namespace Metadata = Quon::Provider::Metadata;
using Pellmar::Service::Logger;
using Pellmar::Service::LogInternal;
using Quon::Bindings::kMetadataPath;
using Quon::Transport::PicoHttp::AsioTcpApiServer;

namespace {

constexpr std::size_t kBodySizeLimitInBytes = 2'500'000;
constexpr std::size_t kRequestSizeLimitInBytes = 2'500'000;
constexpr std::chrono::minutes kReadTimeout{20};
constexpr std::chrono::minutes kWriteTimeout{30};

// The messages and the number of one of the three metadata checks.
struct MetadataCheck {
    const char* announcement;
    const char* error;
    const char* failure;
    int number;
};
constexpr MetadataCheck kCliCheck = {"Loading CLI metadata %1 from %2",
                                     "Error loading CLI %1 from %2 : %3",
                                     "Failed to load cli metadata", 383};
constexpr MetadataCheck kModelCheck = {"Loading Model metadata %1 from %2",
                                       "Error loading Model %1 from %2 : %3",
                                       "Failed to load Metamodel metadata", 389};
constexpr MetadataCheck kAuthnCheck = {"Loading Authn metadata %1 from %2",
                                       "Error loading Authn %1 from %2 : %3",
                                       "Failed to load authentication metadata", 396};

template <typename Container, typename Load>
void LoadMetadata(const MetadataCheck& check, const Pellmar::Ref<Logger>& logger, Load load,
                  const std::shared_ptr<Container>& container) {
    LogInternal(logger, 5, check.announcement, kPackage, kMetadataPath);
    const Quon::Data::ErrorValue error =
        load(std::string(kPackage), std::string(kMetadataPath), container);
    if (error) {
        LogInternal(logger, 3, check.error, kPackage, kMetadataPath, error.ToString());
        LogInternal(logger, 3, check.failure);
        Panic(kVerifyFormat, kVerifySource, check.number);
    }
}

// Runs until the context is stopped. Logs what a handler throws and continues with the next one: a
// single call must not end the API. An error of the context itself ends the run.
void RunContext(boost::asio::io_context& context, const Pellmar::Ref<Logger>& logger) {
    for (;;) {
        try {
            context.run();
            return;
        } catch (const boost::system::system_error&) {
            throw;
        } catch (const std::exception& exception) {
            LogInternal(logger, 3, "A task of the API failed: %1", exception.what());
        }
    }
}

}  // namespace

Endpoint::Endpoint(std::uint16_t port, boost::asio::io_context& ioService)
    : port(port),
      logger(Logger::CreateLogger(Logger::sDefaultLogger, "sentrelquonEndpoint")),
      ioService(ioService) {
    LogInternal(logger, 5, "Initialized the HTTP quon endpoint");
}

Endpoint::~Endpoint() {
    ioService.stop();
    if (runEnd.valid()) {
        runEnd.wait();
    }
    LogInternal(logger, 5, "quon endpoint stopped");
}

void Endpoint::Start(const std::string& reportDirectory) {
    const auto cliMetadata = Metadata::Cli::MetadataContainer::GetInstance();
    const auto modelMetadata = Metadata::Metamodel::MetadataContainer::GetInstance();
    const auto authnMetadata = Metadata::Authentication::MetadataContainer::GetInstance();
    LoadMetadata(kCliCheck, logger, Metadata::ProviderHelper::LoadCliMetadataFile, cliMetadata);
    LoadMetadata(kModelCheck, logger, Metadata::ProviderHelper::LoadMetamodelMetadataFile,
                 modelMetadata);
    LoadMetadata(kAuthnCheck, logger, Metadata::ProviderHelper::LoadAuthnMetadataFile,
                 authnMetadata);
    std::shared_ptr<Quon::AsyncApiProvider> provider =
        CreateLocalProvider(std::make_shared<Quon::Asio::Enqueuer>(ioService), cliMetadata,
                            modelMetadata, authnMetadata, reportDirectory, logger);
    StartServer(std::move(provider));
    auto ended = std::make_shared<std::promise<void>>();
    runEnd = ended->get_future();
    // The context outlives the task, since the destructor waits for it.
    Pellmar::Service::GetApp().GetScheduler().RunNow(
        [ended = std::move(ended), context = &ioService, logger = logger] {
            RunContext(*context, logger);
            ended->set_value();
        });
    LogInternal(logger, 5, "Running IO service.");
}

void Endpoint::StartServer(std::shared_ptr<Quon::AsyncApiProvider> provider) {
    Quon::Transport::PicoHttp::ServerConfiguration configuration;
    configuration.endpoint4 = {.address = "127.0.0.1", .port = static_cast<std::uint16_t>(port)};
    configuration.endpoint6 = {.address = "::1", .port = static_cast<std::uint16_t>(port)};
    configuration.readTimeout = kReadTimeout;
    configuration.writeTimeout = kWriteTimeout;
    configuration.httpBodySizeLimitInBytes = kBodySizeLimitInBytes;
    configuration.requestSizeLimitInBytes = kRequestSizeLimitInBytes;
    configuration.localizer = Quon::L10n::Localizer({"en_US"});
    server = std::make_shared<AsioTcpApiServer>(ioService, std::move(provider),
                                                PaxQuon::PellmarWrapLoggger(logger),
                                                std::move(configuration));
    LogInternal(logger, 5, "Starting quon endpoint at %1", port);
    // Without a listener the API is not served, which the server logs; the daemon still collects
    // reports.
    (void)server->Start();
}

}  // namespace Sentrel::HealthApi
