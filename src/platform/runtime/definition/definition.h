// Describes a service as values: its operations, their parameters and results, and the structures
// and enumerations that they use. Derived from the service's definition (native.h); used by the
// introspection services and by the writer of the metadata file.
#pragma once

#include <memory>
#include <string>
#include <vector>

namespace Quon::Definition {

enum class TypeKind { Boolean, Integer, String, DateTime, Enumeration, Structure, List, Set };

struct Type {
    TypeKind kind = TypeKind::String;
    bool optional = false;
    std::string name;                     // of an enumeration or structure, else empty
    std::shared_ptr<const Type> element;  // of a list or a set, else null
};

// Such as "string", "datetime", "list<com.korvex.oru.observability.reports.summary>"; leaves out
// whether it is optional.
std::string ToText(const Type& type);

struct Field {
    std::string name;
    Type type;
    std::string documentation;
};

struct Structure {
    std::string name;
    std::string documentation;
    std::vector<Field> fields;
};

struct Enumeration {
    std::string name;
    std::string documentation;
    std::vector<std::string> values;  // by ordinal
};

struct Operation {
    std::string name;  // "list"
    std::string documentation;
    std::vector<Field> parameters;
    Type result;
    std::vector<std::string> errors;      // names of the documented errors
    std::vector<std::string> privileges;  // required to call it, all of them
};

struct Service {
    std::string id;  // "com.korvex.oru.observability.reports"
    std::string documentation;
    std::vector<Operation> operations;
    std::vector<Structure> structures;
    std::vector<Enumeration> enumerations;
};

}  // namespace Quon::Definition
