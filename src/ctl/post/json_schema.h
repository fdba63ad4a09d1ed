// Evaluates the JSON Schema (draft 2020-12) keywords that the schemas of this system use. Refuses a
// schema with any other keyword, so that no rule is silently ignored. The caller words the
// violations for people.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <string>
#include <vector>

namespace Ctl {

// A part of a value that its schema does not allow.
struct SchemaViolation {
    std::string path;             // "structured.time", "reports[0].name"; empty: the whole value
    std::string wanted;           // the title of that part's schema; empty if it has none
    const nlohmann::json* value;  // the part, inside the judged value; null: it is missing
};

// The violations in `value` of the schema at the JSON pointer `place` of `document`, outer ones
// first; references ("#/...") are resolved in `document`. Patterns are POSIX extended regular
// expressions in the C locale, so write only what ECMA 262 reads in the same way. Throws
// std::invalid_argument for an unknown keyword or type anywhere in the schema, and for an
// unresolvable reference.
std::vector<SchemaViolation> FindViolations(const nlohmann::json& document,
                                            const nlohmann::json& value,
                                            const std::string& place = "");

}  // namespace Ctl
