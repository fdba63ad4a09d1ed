#include "ctl/post/json_schema.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cstddef>
#include <set>
#include <stdexcept>
#include <string_view>
#include <utility>

#include <regex.h>

namespace Ctl {

namespace {

using Json = nlohmann::json;

// Keywords for people and other programs, which constrain nothing.
constexpr std::array<std::string_view, 8> kAnnotations = {
    "$schema", "$id", "$defs", "title", "description", "default", "examples", "format"};

std::string TitleOf(const Json& schema) {
    const auto title = schema.find("title");
    return title == schema.end() ? "" : title->get<std::string>();
}

std::string MemberPath(const std::string& path, const std::string& member) {
    return path.empty() ? member : path + "." + member;
}

bool IsOfType(const Json& value, const std::string& type) {
    if (type == "object") {
        return value.is_object();
    }
    if (type == "array") {
        return value.is_array();
    }
    if (type == "string") {
        return value.is_string();
    }
    if (type == "number") {
        return value.is_number();
    }
    if (type == "boolean") {
        return value.is_boolean();
    }
    if (type == "null") {
        return value.is_null();
    }
    throw std::invalid_argument("unknown type \"" + type + "\" in the schema");
}

// Not std::regex, which recurses once per character: the text may be long.
class Pattern {
  public:
    explicit Pattern(const std::string& text) {
        if (::regcomp(&compiled, text.c_str(), REG_EXTENDED | REG_NOSUB) != 0) {
            throw std::invalid_argument("invalid pattern " + text + " in the schema");
        }
    }
    ~Pattern() { ::regfree(&compiled); }
    Pattern(const Pattern&) = delete;
    Pattern& operator=(const Pattern&) = delete;

    bool IsIn(const std::string& text) const {
        regmatch_t range{};  // of the text, which may have NUL bytes
        range.rm_eo = static_cast<regoff_t>(text.size());
        return ::regexec(&compiled, text.c_str(), 1, &range, REG_STARTEND) == 0;
    }

  private:
    regex_t compiled{};
};

class Judge {
  public:
    explicit Judge(const Json& document) : document(document) {}

    void Look(const Json& schema, const Json& value, const std::string& path) {
        for (const auto& [keyword, judge] : kKeywords) {
            if (const auto rule = schema.find(keyword); rule != schema.end()) {
                (this->*judge)({schema, *rule, value, path});
            }
        }
    }

    // Throws for an unknown keyword in the schema or in its subschemas.
    void RefuseUnknown(const Json& schema) {
        if (!schema.is_object()) {
            throw std::invalid_argument("a part of the schema is not an object");
        }
        if (!seen.insert(&schema).second) {
            return;
        }
        for (const auto& [keyword, rule] : schema.items()) {
            RefuseUnknownKeyword(keyword);
            if (keyword == "type") {
                (void)IsOneOf(Json(), rule);  // throws
            } else if (keyword == "$ref") {
                RefuseUnknown(Referenced(rule));
            } else if (keyword == "items" || keyword == "additionalProperties") {
                RefuseUnknown(rule);
            } else if (keyword == "properties" || keyword == "$defs") {
                for (const Json& inner : rule) {
                    RefuseUnknown(inner);
                }
            }
        }
    }

    std::vector<SchemaViolation> Take() { return std::move(violations); }

  private:
    struct Case {
        const Json& schema;
        const Json& rule;  // the keyword's value
        const Json& value;
        const std::string& path;
    };
    using Rule = void (Judge::*)(const Case&);

    // Visits every type, so that an unknown one is found.
    static bool IsOneOf(const Json& value, const Json& types) {
        const Json list = types.is_array() ? types : Json::array({types});
        return std::count_if(list.begin(), list.end(), [&value](const Json& type) {
                   return IsOfType(value, type.get<std::string>());
               }) > 0;
    }

    static void RefuseUnknownKeyword(const std::string& keyword) {
        const bool isKnown =
            std::find(kAnnotations.begin(), kAnnotations.end(), keyword) != kAnnotations.end() ||
            std::any_of(kKeywords.begin(), kKeywords.end(),
                        [&](const auto& known) { return keyword == known.first; });
        if (!isKnown) {
            throw std::invalid_argument("unknown keyword \"" + keyword + "\" in the schema");
        }
    }

    const Json& Referenced(const Json& reference) const {
        const auto text = reference.get<std::string>();
        const Json::json_pointer place(text.starts_with('#') ? text.substr(1) : text);
        if (!text.starts_with('#') || !document.contains(place)) {
            throw std::invalid_argument("unresolved reference " + text + " in the schema");
        }
        return document.at(place);
    }

    void Violated(const Case& judged) {
        violations.push_back({judged.path, TitleOf(judged.schema), &judged.value});
    }

    void JudgeReference(const Case& judged) {
        Look(Referenced(judged.rule), judged.value, judged.path);
    }
    void JudgeType(const Case& judged) {
        if (!IsOneOf(judged.value, judged.rule)) {
            Violated(judged);
        }
    }
    void JudgeEnum(const Case& judged) {
        if (std::find(judged.rule.begin(), judged.rule.end(), judged.value) == judged.rule.end()) {
            Violated(judged);
        }
    }
    void JudgePattern(const Case& judged) {
        if (judged.value.is_string() &&
            !Pattern(judged.rule.get<std::string>()).IsIn(judged.value.get<std::string>())) {
            Violated(judged);
        }
    }
    void JudgeRequired(const Case& judged) {
        if (!judged.value.is_object()) {
            return;
        }
        for (const Json& member : judged.rule) {
            const auto name = member.get<std::string>();
            if (!judged.value.contains(name)) {
                const Json::json_pointer place = Json::json_pointer("/properties") / name;
                violations.push_back(
                    {MemberPath(judged.path, name),
                     judged.schema.contains(place) ? TitleOf(judged.schema.at(place)) : "",
                     nullptr});
            }
        }
    }
    void JudgeProperties(const Case& judged) {
        for (const auto& [name, schema] : judged.rule.items()) {
            if (judged.value.is_object() && judged.value.contains(name)) {
                Look(schema, judged.value.at(name), MemberPath(judged.path, name));
            }
        }
    }
    void JudgeOtherProperties(const Case& judged) {
        if (!judged.value.is_object()) {
            return;
        }
        for (const auto& [name, member] : judged.value.items()) {
            if (!judged.schema.contains(Json::json_pointer("/properties") / name)) {
                Look(judged.rule, member, MemberPath(judged.path, name));
            }
        }
    }
    void JudgeItems(const Case& judged) {
        for (std::size_t i = 0; judged.value.is_array() && i < judged.value.size(); ++i) {
            Look(judged.rule, judged.value[i], judged.path + "[" + std::to_string(i) + "]");
        }
    }

    static constexpr std::array<std::pair<const char*, Rule>, 8> kKeywords = {{
        {"$ref", &Judge::JudgeReference},
        {"type", &Judge::JudgeType},
        {"enum", &Judge::JudgeEnum},
        {"pattern", &Judge::JudgePattern},
        {"required", &Judge::JudgeRequired},
        {"properties", &Judge::JudgeProperties},
        {"additionalProperties", &Judge::JudgeOtherProperties},
        {"items", &Judge::JudgeItems},
    }};

    const Json& document;
    std::set<const Json*> seen;  // by RefuseUnknown
    std::vector<SchemaViolation> violations;
};

}  // namespace

std::vector<SchemaViolation> FindViolations(const nlohmann::json& document,
                                            const nlohmann::json& value, const std::string& place) {
    const Json::json_pointer pointer(place);
    if (!document.contains(pointer)) {
        throw std::invalid_argument("no schema at " + place);
    }
    Judge judge(document);
    judge.RefuseUnknown(document.at(pointer));
    judge.Look(document.at(pointer), value, "");
    return judge.Take();
}

}  // namespace Ctl
