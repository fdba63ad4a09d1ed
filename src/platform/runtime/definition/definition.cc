#include "platform/runtime/definition/definition.h"

namespace Quon::Definition {

std::string ToText(const Type& type) {
    switch (type.kind) {
        case TypeKind::Boolean:
            return "boolean";
        case TypeKind::Integer:
            return "integer";
        case TypeKind::String:
            return "string";
        case TypeKind::DateTime:
            return "datetime";
        case TypeKind::Enumeration:
        case TypeKind::Structure:
            return type.name;
        case TypeKind::List:
            return "list<" + ToText(*type.element) + ">";
        case TypeKind::Set:
            break;
    }
    return "set<" + ToText(*type.element) + ">";
}

}  // namespace Quon::Definition
