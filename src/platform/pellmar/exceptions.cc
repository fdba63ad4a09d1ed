#include "platform/pellmar/exceptions.h"

#include <system_error>

namespace Pellmar {

IOException::IOException(const std::string& what, int errorNumber)
    : Exception(what + ": " + std::generic_category().message(errorNumber)) {}

}  // namespace Pellmar
