// The privileges that each operation requires, according to the metadata file. The caller's token
// lists the caller's privileges; the authorization filter compares the two.
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

// Filled before it is shared, then immutable.
class AuthzInfo {
  public:
    // `openOperations` never require a token, whatever a metadata file says.
    AuthzInfo(std::string unauthenticatedScheme, std::set<OperationId> openOperations);

    // Declares that `operation` requires authentication by one of `schemes`, and all of
    // `privileges`. If `schemes` include the unauthenticated one, the operation is open to
    // everybody. Returns false and changes nothing if the operation already has metadata, or is
    // open but requires privileges.
    [[nodiscard]] bool Add(const OperationId& operation, const std::vector<std::string>& schemes,
                           std::vector<std::string> privileges);

    bool IsOpen(const OperationId& operation) const { return openOperations.count(operation) > 0; }
    // Null for an operation without authorization metadata; open ones need none.
    const std::vector<std::string>* Privileges(const OperationId& operation) const;

  private:
    std::string unauthenticatedScheme;
    std::set<OperationId> openOperations;
    std::map<OperationId, std::vector<std::string>> privileges;
};

}  // namespace Quon::Authz
