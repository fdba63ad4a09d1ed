// Judges JSON values by JSON Schema (draft 2020-12), by those of its keywords that the schemas of
// this system use. A schema that has any other is refused whole, so nothing stands in a schema that
// is not checked. What the violations mean to people is the caller's business.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <string>
#include <vector>

namespace Ctl {

// A part of a value that its schema does not allow.
struct SchemaViolation {
    std::string path;             // "structured.time", "reports[0].name"; empty: the whole value
    std::string wanted;           // the title of that part's schema; empty when it has none
    const nlohmann::json* value;  // the part, which lives in the judged value; null: it is missing
};

// What in `value` the schema at the JSON pointer `place` of `document` does not allow; references
// ("#/...") are looked up in `document`. Those that stand higher come first. Patterns are POSIX
// extended regular expressions in the C locale, so write them as ECMA 262 reads them too. Throws
// std::invalid_argument for a keyword or a type that it does not know, wherever it stands, and for
// a reference to nothing.
std::vector<SchemaViolation> FindViolations(const nlohmann::json& document,
                                            const nlohmann::json& value,
                                            const std::string& place = "");

}  // namespace Ctl
