#include "sentrel_check/settings.h"

#include "platform/json/bounded_json.h"
#include "platform/sys/read_file.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cerrno>
#include <string_view>
#include <utility>

#include <fnmatch.h>
#include <string.h>

namespace SentrelCheck {

namespace {

constexpr std::size_t kMaxBytes = 64 * 1024;

// Reads the file at `path`: "{}" if it does not exist, only the start if it is longer than the
// parser accepts. Returns false and sets `reason` if it cannot be read.
bool ReadText(const std::string& path, std::string& text, std::string& reason) {
    const int error = Sys::ReadRegularFile(path, kMaxBytes + 1, text);
    if (error == ENOENT) {
        text = "{}";
        return true;
    }
    reason = error == ENXIO ? "it is not a regular file" : ::strerrordesc_np(error);
    return error == 0;
}

}  // namespace

struct Settings::Document {
    nlohmann::json root = nlohmann::json::object();

    // Null if the member does not exist.
    const nlohmann::json* Find(const std::string& key) const {
        const auto found = root.find(key);
        return found == root.end() ? nullptr : &*found;
    }
};

Settings::Settings(std::string path)
    : path(std::move(path)), document(std::make_unique<Document>()) {
    Json::JsonError error;
    std::string text;
    if (ReadText(this->path, text, error.reason) &&
        Json::Parse(text, {kMaxBytes, Json::Comments::Allowed, Json::Root::Object}, document->root,
                    error)) {
        return;
    }
    const std::string place = error.line == 0 ? ""
                                              : "line " + std::to_string(error.line) + ", column " +
                                                    std::to_string(error.column) + ": ";
    Fail(place + error.reason);
}

Settings::~Settings() = default;

Limits Settings::GetLimits(const std::string& key, const Limits& defaults, Bad bad) {
    knownKeys.push_back(key);
    const nlohmann::json* value = document->Find(key);
    if (value == nullptr) {
        return defaults;
    }
    Limits limits = defaults;
    const std::string expected =
        "\"" + key + "\" must be an object with the numbers \"warning\" and \"critical\"";
    if (!value->is_object()) {
        Fail(expected);
    }
    for (const auto& [name, number] : value->items()) {
        if ((name != "warning" && name != "critical") ||
            !(number.is_number() || number.is_null())) {
            Fail(std::string(expected).append(", but \"").append(name).append("\" is invalid"));
        }
        (name == "warning" ? limits.warning : limits.critical) =
            number.is_null() ? std::optional<double>() : number.get<double>();
    }
    if (limits.warning && limits.critical &&
        (bad == Bad::High ? *limits.warning > *limits.critical
                          : *limits.warning < *limits.critical)) {
        Fail("\"" + key + "\" would be critical before it is a warning; swap the two numbers");
    }
    return limits;
}

bool Settings::GetBool(const std::string& key, bool preset) {
    knownKeys.push_back(key);
    const nlohmann::json* value = document->Find(key);
    if (value != nullptr && !value->is_boolean()) {
        Fail("\"" + key + "\" must be true or false");
    }
    return value == nullptr ? preset : value->get<bool>();
}

std::string Settings::GetString(const std::string& key, const std::string& preset) {
    knownKeys.push_back(key);
    const nlohmann::json* value = document->Find(key);
    if (value != nullptr && !value->is_string()) {
        Fail("\"" + key + "\" must be a string");
    }
    return value == nullptr ? preset : value->get<std::string>();
}

std::vector<std::string> Settings::GetList(const std::string& key) {
    knownKeys.push_back(key);
    const nlohmann::json* value = document->Find(key);
    if (value == nullptr) {
        return {};
    }
    const auto isString = [](const nlohmann::json& element) { return element.is_string(); };
    if (!value->is_array() || !std::all_of(value->begin(), value->end(), isString)) {
        Fail("\"" + key + "\" must be a list of strings");
    }
    return value->get<std::vector<std::string>>();
}

void Settings::RefuseUnknown() const {
    for (const auto& [name, value] : document->root.items()) {
        if (std::find(knownKeys.begin(), knownKeys.end(), name) != knownKeys.end()) {
            continue;
        }
        std::string known;
        for (const std::string& key : knownKeys) {
            known.append(known.empty() ? "" : ", ").append(key);
        }
        Fail(std::string("unknown setting \"").append(name).append("\"; known settings: ") + known);
    }
}

void Settings::Fail(const std::string& reason) const {
    throw SettingsError(path + ": " + reason + "; correct or remove this file");
}

bool MatchesAny(const std::vector<std::string>& patterns, const std::string& name) {
    return std::any_of(patterns.begin(), patterns.end(), [&name](const std::string& pattern) {
        return ::fnmatch(pattern.c_str(), name.c_str(), 0) == 0;
    });
}

}  // namespace SentrelCheck
