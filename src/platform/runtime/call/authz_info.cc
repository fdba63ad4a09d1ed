#include "platform/runtime/call/authz_info.h"

#include <algorithm>
#include <utility>

namespace Quon::Authz {

AuthzInfo::AuthzInfo(std::string unauthenticatedScheme, std::set<OperationId> openOperations)
    : unauthenticatedScheme(std::move(unauthenticatedScheme)),
      openOperations(std::move(openOperations)) {}

bool AuthzInfo::Add(const OperationId& operation, const std::vector<std::string>& schemes,
                    std::vector<std::string> neededPrivileges) {
    const bool isOpen =
        std::find(schemes.begin(), schemes.end(), unauthenticatedScheme) != schemes.end();
    if ((isOpen || IsOpen(operation)) && !neededPrivileges.empty()) {
        return false;
    }
    if (!privileges.emplace(operation, std::move(neededPrivileges)).second) {
        return false;
    }
    if (isOpen) {
        openOperations.insert(operation);
    }
    return true;
}

const std::vector<std::string>* AuthzInfo::Privileges(const OperationId& operation) const {
    const auto found = privileges.find(operation);
    return found == privileges.end() ? nullptr : &found->second;
}

}  // namespace Quon::Authz
