#include "ctl/api/signing.h"

#include "platform/pellmar/config.h"
#include "platform/tabulon/json_config.h"

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
