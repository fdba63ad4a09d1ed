// The issuing side of tokens on this host: its settings, its signing key and what is signed with
// it.
#pragma once

#include "platform/token/token_signer.h"
#include "platform/token/token_verifier.h"

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

namespace Ctl {

inline constexpr std::string_view kSigningKeyPath = "/var/lib/korvex/oru/token/signing-key.json";
inline constexpr std::string_view kReadPrivilege = "observability.reports.read";

// What the daemon on this host expects of tokens. Throws Pellmar::Exception when the store entry is
// broken.
Token::TrustSettings ReadTrustSettings();

// A token signed now with the key of this host. Throws Pellmar::NotFoundException, with what to do,
// when there is no key, and Pellmar::Exception when it cannot be used.
std::string IssueToken(const std::string& subject, std::vector<std::string> entitlements,
                       std::chrono::seconds lifetime);

}  // namespace Ctl
