// What it takes to call each operation, as the metadata file says it. Who holds a privilege is said
// by the caller's token; who is let through, by the authorization filter.
#pragma once

#include "platform/runtime/call/call.h"

#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace Quon::Authz {

// The security scheme of operations that anybody may call.
inline constexpr std::string_view kNoAuthenticationScheme =
    "com.korvex.quon.std.security.no_authentication";

// Filled before it is shared, immutable then.
class AuthzInfo {
  public:
    // `openOperations` need no token whatever a metadata file says.
    AuthzInfo(std::string unauthenticatedScheme, std::set<OperationId> openOperations);

    // States that `operation` may be called by those who authenticate by one of `schemes` and hold
    // all of `privileges`. With the unauthenticated scheme among them it is open to everybody.
    // False, with nothing stated, when the operation already has metadata, or is open and yet needs
    // privileges.
    [[nodiscard]] bool Add(const OperationId& operation, const std::vector<std::string>& schemes,
                           std::vector<std::string> privileges);

    bool IsOpen(const OperationId& operation) const { return openOperations.count(operation) > 0; }
    // Null for an operation without authorization metadata; an open one needs none.
    const std::vector<std::string>* Privileges(const OperationId& operation) const;

  private:
    std::string unauthenticatedScheme;
    std::set<OperationId> openOperations;
    std::map<OperationId, std::vector<std::string>> privileges;
};

}  // namespace Quon::Authz
