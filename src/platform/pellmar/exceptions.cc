#include "platform/pellmar/exceptions.h"

#include <string_view>
#include <system_error>

namespace Pellmar {

namespace {

constexpr std::string_view kSeparator = "; ";

}  // namespace

Throwable::Throwable(const std::string& happened, const std::string& advice, int errorNumber)
    : text(happened), happenedSize(happened.size()), errorNumber(errorNumber) {
    if (!advice.empty()) {
        text.append(kSeparator).append(advice);
    }
}

Throwable::Throwable(const std::string& what, int errorNumber, const std::string& advice)
    : Throwable(what + ": " + std::generic_category().message(errorNumber), advice, errorNumber) {}

std::string Throwable::Advice() const {
    return happenedSize == text.size() ? "" : text.substr(happenedSize + kSeparator.size());
}

}  // namespace Pellmar
