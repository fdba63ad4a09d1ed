#include "quon/endpoint/call_chain.h"

#include "platform/bindings/metadata_writer.h"
#include "platform/bindings/reports_svc.h"
#include "platform/hostlib/hostlib.h"
#include "platform/pellmar/service/app.h"
#include "platform/runtime/call/authn_filter.h"
#include "platform/runtime/call/authz_filter.h"
#include "platform/runtime/call/authz_info.h"
#include "platform/runtime/call/call_registrar.h"
#include "platform/runtime/call/provider.h"
#include "platform/runtime/metadata/authz_metadata.h"
#include "platform/runtime/metadata/introspection.h"
#include "platform/runtime/metadata/runtime_operations.h"
#include "platform/sys/host_root.h"
#include "platform/token/token_handler.h"
#include "quon/endpoint/audit_callback.h"
#include "quon/endpoint/log_adapter.h"
#include "quon/reports/reports_impl.h"
#include "store/publisher.h"

#include <fstream>
#include <utility>
#include <vector>

namespace Sentrel::HealthApi {

namespace {

using Pellmar::Ref;
using Pellmar::Service::Logger;
using Pellmar::Service::LogInternal;
using Quon::Bindings::kMetadataPath;
using Quon::Provider::Metadata::ProviderHelper;

constexpr int kAuthorizationMetadataCheck = 298;
constexpr int kAuthorizationFilterCheck = 311;

std::shared_ptr<const Quon::Provider::ApiInterface> BindReports(const std::string& reportDirectory,
                                                                const Ref<Logger>& logger) {
    namespace ReportsSvc = Com::Korvex::Oru::Observability::ReportsSvc;
    const auto publisher = std::make_shared<Publisher>(reportDirectory, logger);
    return ReportsSvc::AsyncServiceBinder::BindImplementation(
        std::make_shared<ReportsSvc::ReportsImpl>(logger, publisher));
}

Quon::Authz::AuthzInfo LoadAuthorization(Quon::Logger& authzLogger, const Ref<Logger>& logger) {
    Quon::Authz::AuthzInfo info(std::string(Quon::Authz::kNoAuthenticationScheme),
                                Quon::Provider::OpenOperations());
    authzLogger.Log(Quon::LogLevel::Info,
                    "Loading authz metadata file:" + std::string(kMetadataPath));
    std::ifstream file(Sys::HostPath(kMetadataPath), std::ios::binary);
    std::vector<Quon::L10n::LocalizableMessage> messages;
    if (!file ||
        !Quon::Authz::Metadata::LoadAuthzInfoMetadata::Load(file, info, authzLogger, messages)) {
        authzLogger.Log(Quon::LogLevel::Error,
                        "Error loading authz metadata file:" + std::string(kMetadataPath));
        for (const Quon::L10n::LocalizableMessage& message : messages) {
            authzLogger.Log(Quon::LogLevel::Error,
                            "--> " + message.id + " : " + message.defaultMessage);
        }
        LogInternal(logger, 3, "Failed to load authorization metadata");
        Panic(kVerifyFormat, kVerifySource, kAuthorizationMetadataCheck);
    }
    return info;
}

std::shared_ptr<Quon::AsyncApiProvider> Authorize(std::shared_ptr<Quon::AsyncApiProvider> provider,
                                                  const Ref<Logger>& logger) {
    const auto authzLogger =
        PaxQuon::PellmarWrapLoggger(Logger::CreateLogger(Logger::sDefaultLogger, "AuthzHandler"));
    Quon::Authz::AuthzInfo info = LoadAuthorization(*authzLogger, logger);
    std::shared_ptr<Quon::AsyncApiProvider> filter = Quon::Authz::Filter::AsyncAuthzFilter::Create(
        std::move(provider), std::make_shared<OruToken::Authz::JwtEntitlementCheckerImpl>(),
        std::move(info), authzLogger);
    if (!filter) {
        LogInternal(logger, 3, "Failed to initialize the authorization filter");
        Panic(kVerifyFormat, kVerifySource, kAuthorizationFilterCheck);
    }
    return filter;
}

// One handler for each authentication scheme.
std::vector<std::shared_ptr<Quon::Authn::AsyncAuthenticationHandler>> AuthenticationHandlers() {
    const Ref<Pellmar::Service::ConfigReader> settings =
        Pellmar::Service::GetApp().GetConfig()->GetReaderOf("token", "authn", "oru");
    return {std::make_shared<Oru::Authn::TokenHandler>(
        Token::ReadTrustSettings(*settings),
        Logger::CreateLogger(Logger::sDefaultLogger, "OruObservabilityJWTHandler"))};
}

}  // namespace

std::shared_ptr<Quon::AsyncApiProvider> CreateLocalProvider(
    const std::shared_ptr<Quon::Enqueuer>& enqueuer,
    const std::shared_ptr<Quon::Provider::Metadata::Cli::MetadataContainer>& cliMetadata,
    const std::shared_ptr<Quon::Provider::Metadata::Metamodel::MetadataContainer>& modelMetadata,
    const std::shared_ptr<Quon::Provider::Metadata::Authentication::MetadataContainer>&
        authnMetadata,
    const std::string& reportDirectory, const Ref<Logger>& logger) {
    const auto container = std::make_shared<Quon::Provider::AsyncApiInterfaceConcurrentContainer>();
    container->Add(BindReports(reportDirectory, logger));
    container->Add(ProviderHelper::CliInterfaces(cliMetadata));
    container->Add(ProviderHelper::MetamodelInterfaces(modelMetadata));
    container->Add(ProviderHelper::AuthnInterfaces(authnMetadata));
    container->Add(Quon::Provider::IntrospectionInterfaces(container, "AsyncLocalProvider"));
    std::shared_ptr<Quon::AsyncApiProvider> chain =
        std::make_shared<Quon::Provider::AsyncLocalProvider>(container, enqueuer,
                                                             PaxQuon::PellmarWrapLoggger(logger));
    chain = Authorize(std::move(chain), logger);
    for (const auto& handler : AuthenticationHandlers()) {
        chain = std::make_shared<Quon::Authn::Filter::AsyncAuthnFilter>(handler, std::move(chain));
    }
    return std::make_shared<Quon::Observer::CallRegistrar>(std::move(chain), AuditCall);
}

}  // namespace Sentrel::HealthApi
