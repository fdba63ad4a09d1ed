#include "ctl/api/signing.h"

#include "platform/bindings/metadata_writer.h"
#include "platform/pellmar/config.h"
#include "platform/sys/host_root.h"
#include "platform/sys/read_file.h"
#include "platform/tabulon/json_config.h"

#include <nlohmann/json.hpp>

#include <cstddef>
#include <set>
#include <utility>

namespace Ctl {

Token::TrustSettings ReadTrustSettings() {
    const Tabulon::StoreEntry entry = {
        .first = "", .key = "token", .group = "authn", .component = "oru", .last = ""};
    const Pellmar::Ref<Pellmar::Service::Config> config =
        Tabulon::CreateTabulonConfigWithFallbackToDefault({entry});
    config->Initialize();
    return Token::ReadTrustSettings(*config->GetReader());
}

std::vector<std::string> KnownPrivileges() {
    std::set<std::string> privileges = {std::string(kReadPrivilege)};
    std::string text;
    constexpr std::size_t kMaxBytes = std::size_t{1} << 20;
    if (Sys::ReadRegularFile(Sys::HostPath(Quon::Bindings::kMetadataPath), kMaxBytes, text) == 0) {
        [[maybe_unused]] const nlohmann::json document = nlohmann::json::parse(
            text,
            [&privileges, inList = false](int, auto event, nlohmann::json& value) mutable {
                using Event = nlohmann::json::parse_event_t;
                if (event == Event::key) {
                    inList = value == "privileges";
                } else if (event == Event::value && inList && value.is_string()) {
                    privileges.insert(value.get<std::string>());
                }
                return true;
            },
            /*allow_exceptions=*/false);
    }
    return {privileges.begin(), privileges.end()};
}

std::string IssueToken(const std::string& subject, std::vector<std::string> entitlements,
                       std::chrono::seconds lifetime) {
    const Token::TrustSettings settings = ReadTrustSettings();
    const Token::SigningKey key = Token::SigningKey::Load(std::string(kSigningKeyPath));
    return key.Sign(
        {.issuer = settings.issuer,
         .audience = settings.audience,
         .subject = subject,
         .entitlements = std::move(entitlements),
         .issued = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now()),
         .lifetime = lifetime});
}

}  // namespace Ctl
