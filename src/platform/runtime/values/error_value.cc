#include "platform/runtime/values/error_value.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <exception>
#include <utility>

namespace Quon {

namespace {

// Indexed by ordinal.
constexpr std::array<std::string_view, 18> kErrorTypeTexts = {"ERROR",
                                                              "ALREADY_EXISTS",
                                                              "CANCELED",
                                                              "CONCURRENT_CHANGE",
                                                              "FEATURE_IN_USE",
                                                              "INTERNAL_SERVER_ERROR",
                                                              "INVALID_ARGUMENT",
                                                              "INVALID_ELEMENT_TYPE",
                                                              "INVALID_REQUEST",
                                                              "NOT_ALLOWED_IN_CURRENT_STATE",
                                                              "OPERATION_NOT_FOUND",
                                                              "RESOURCE_BUSY",
                                                              "NOT_FOUND",
                                                              "RESOURCE_INACCESSIBLE",
                                                              "SERVICE_UNAVAILABLE",
                                                              "TIMED_OUT",
                                                              "UNAUTHENTICATED",
                                                              "UNAUTHORIZED"};

char ToLower(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

}  // namespace

namespace Data {

std::string ErrorValue::ToString() const {
    std::string text = Name();
    const DataValue* messages = structure.Find("messages");
    const ListValue* list = messages != nullptr ? messages->AsList() : nullptr;
    if (list == nullptr) {
        return text;
    }
    for (const DataValue& message : *list) {
        const StructureValue* fields = message.AsStructure();
        const DataValue* words = fields != nullptr ? fields->Find("defaultMessage") : nullptr;
        if (words != nullptr && words->As<std::string>() != nullptr) {
            text += ": " + *words->As<std::string>();
        }
    }
    return text;
}

}  // namespace Data

namespace Std {

std::string_view ErrorTypeText(ErrorType type) {
    return kErrorTypeTexts.at(static_cast<std::size_t>(type));
}

std::string ErrorName(ErrorType type) {
    std::string name(ErrorTypeText(type));
    std::transform(name.begin(), name.end(), name.begin(), ToLower);
    return "com.korvex.quon.std.errors." + name;
}

Data::ErrorValue MakeError(ErrorType type, const std::vector<L10n::LocalizableMessage>& messages) {
    Data::ListValue list;
    list.reserve(messages.size());
    for (const L10n::LocalizableMessage& message : messages) {
        list.push_back(L10n::ToData(message));
    }
    Data::StructureValue structure(ErrorName(type));
    structure.Add("messages", Data::DataValue(std::move(list)));
    structure.Add("errorType", Data::DataValue(std::string(ErrorTypeText(type))));
    return Data::ErrorValue(std::move(structure));
}

Data::ErrorValue MakeNoResultError() noexcept {
    try {
        return MakeError(ErrorType::InternalServerError,
                         {L10n::MakeMessage("quon.operation.without.result")});
    } catch (const std::exception&) {
        return {};
    }
}

}  // namespace Std

}  // namespace Quon
