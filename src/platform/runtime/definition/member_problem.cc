#include "platform/runtime/definition/member_problem.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <type_traits>
#include <variant>

namespace Quon::Native {

namespace {

using Definition::TypeKind;
using L10n::LocalizableMessage;
using L10n::MakeMessage;

std::string InWords(const Definition::Type& type) {
    switch (type.kind) {
        case TypeKind::Boolean:
            return "true or false";
        case TypeKind::Integer:
            return "an integer of at most 64 bits";
        case TypeKind::String:
        case TypeKind::Enumeration:
            return "a string";
        case TypeKind::DateTime:
            return "a string that holds a date-time";
        case TypeKind::Structure:
            return "an object";
        case TypeKind::List:
        case TypeKind::Set:
            break;
    }
    return "a list, each element " + InWords(*type.element);
}

struct KindInWords {
    std::string operator()(std::monostate /*unset*/) const { return "null"; }
    std::string operator()(bool /*value*/) const { return "true or false"; }
    std::string operator()(std::int64_t /*value*/) const { return "an integer"; }
    std::string operator()(double /*value*/) const { return "a fraction or a larger number"; }
    std::string operator()(const std::string& /*value*/) const { return "a string"; }
    std::string operator()(const std::shared_ptr<const std::string>& /*value*/) const {
        return "a string";
    }
    std::string operator()(DateTime /*value*/) const { return "a date-time"; }
    std::string operator()(const std::shared_ptr<const Data::StructureValue>& /*value*/) const {
        return "an object";
    }
    template <typename List>
    std::string operator()(const std::shared_ptr<const List>& /*value*/) const {
        return "a list";
    }
};

std::string Join(const std::vector<std::string_view>& words) {
    std::string joined;
    for (const std::string_view word : words) {
        joined += joined.empty() ? "" : ", ";
        joined += word;
    }
    return joined;
}

}  // namespace

std::string MemberPath::ToString() const {
    std::vector<const MemberPath*> steps;
    for (const MemberPath* step = this; step->parent != nullptr; step = step->parent) {
        steps.push_back(step);
    }
    std::string text;
    std::for_each(steps.rbegin(), steps.rend(), [&text](const MemberPath* step) {
        if (step->index) {
            text += '[' + std::to_string(*step->index) + ']';
        } else {
            text += text.empty() ? "" : ".";
            text += step->member;
        }
    });
    return text;
}

LocalizableMessage MissingMember(const MemberPath& path, const Definition::Type& type) {
    return MakeMessage("quon.member.missing", {path.ToString(), InWords(type)});
}

LocalizableMessage UnknownMember(const MemberPath& path,
                                 const std::vector<std::string_view>& knownNames) {
    return MakeMessage("quon.member.unknown",
                       {path.ToString(), knownNames.empty() ? "none" : Join(knownNames)});
}

LocalizableMessage UnknownText(const MemberPath& path,
                               const std::vector<std::string_view>& knownTexts) {
    return MakeMessage("quon.member.text", {path.ToString(), Join(knownTexts)});
}

LocalizableMessage NoDateTime(const MemberPath& path, const std::error_code& reason) {
    return MakeMessage("quon.member.datetime", {path.ToString(), reason.message()});
}

LocalizableMessage WrongType(const MemberPath& path, const Definition::Type& wanted,
                             const Data::DataValue& found) {
    return MakeMessage("quon.member.type", {path.ToString(), InWords(wanted),
                                            std::visit(KindInWords{}, found.Content())});
}

}  // namespace Quon::Native
