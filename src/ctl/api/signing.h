// Issues tokens on this host: its settings, its signing key, and the signed tokens.
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

// The token settings of this host's daemon. Throws Pellmar::Exception if the store entry is broken.
Token::TrustSettings ReadTrustSettings();

// What the operations of this host's API need, by its metadata file; without one, what reading
// reports needs.
std::vector<std::string> KnownPrivileges();

// A token signed with this host's key. Throws Pellmar::NotFoundException, with what to do, if the
// key is missing, and Pellmar::Exception if it is unusable.
std::string IssueToken(const std::string& subject, std::vector<std::string> entitlements,
                       std::chrono::seconds lifetime);

}  // namespace Ctl
