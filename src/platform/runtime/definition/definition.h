// What a service is made of, described by values: its operations, their parameters and results, the
// structures and enumerations they use. Derived from the one definition of a service (native.h);
// read by the introspection services and by the writer of the metadata file.
#pragma once

#include <memory>
#include <string>
#include <vector>

namespace Quon::Definition {

enum class TypeKind { Boolean, Integer, String, DateTime, Enumeration, Structure, List, Set };

struct Type {
    TypeKind kind = TypeKind::String;
    bool optional = false;
    std::string name;                     // of an enumeration or a structure, else empty
    std::shared_ptr<const Type> element;  // of a list or a set, else null
};

// "string", "datetime", "list<com.korvex.oru.observability.reports.summary>"; optionality is not
// part of it.
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
    std::vector<std::string> values;  // in the order of their ordinals
};

struct Operation {
    std::string name;  // "list"
    std::string documentation;
    std::vector<Field> parameters;
    Type result;
    std::vector<std::string> errors;      // names of the errors that it documents
    std::vector<std::string> privileges;  // all of them are needed to call it
};

struct Service {
    std::string id;  // "com.korvex.oru.observability.reports"
    std::string documentation;
    std::vector<Operation> operations;
    std::vector<Structure> structures;
    std::vector<Enumeration> enumerations;
};

}  // namespace Quon::Definition
