#include "notify/files.h"

#include "ctl/host/input_file.h"
#include "ctl/show/failure.h"
#include "platform/sys/atomic_file.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <system_error>

namespace Notify {

namespace {

using nlohmann::json;

constexpr std::size_t kMaxFileSize = 1024 * 1024;
constexpr mode_t kLastNoticesMode = 0640;

// The object in the file; an empty one if the file is missing.
json ReadObject(const std::string& path, const std::string& what) {
    std::error_code error;
    if (!std::filesystem::exists(path, error) && !error) {
        return json::object();
    }
    json document = json::parse(Ctl::ReadRegularFile(path, kMaxFileSize, what), nullptr, false);
    if (!document.is_object()) {
        throw Ctl::Failure("cannot read " + path + ": not a JSON object", "correct or remove it");
    }
    return document;
}

std::int64_t Number(const std::string& path, const std::string& key, const json& value,
                    std::int64_t least, std::int64_t most) {
    if (!value.is_number_integer() || value < least || value > most) {
        throw Ctl::Failure(
            "invalid value of \"" + key + "\" in " + path,
            "use a whole number from " + std::to_string(least) + " to " + std::to_string(most));
    }
    return value.get<std::int64_t>();
}

Ctl::Failure UnknownSetting(const std::string& path, const std::string& key) {
    return Ctl::Failure("unknown setting \"" + key + "\" in " + path,
                        "use settle_time_in_secs, hook_timeout_in_secs or max_notices_per_minute");
}

Ctl::Failure InvalidMember(const std::string& path, const std::string& name) {
    return Ctl::Failure("cannot read " + path + ": invalid member \"" + name + "\"",
                        "remove the file; a notice is sent again for every report that is not OK");
}

}  // namespace

Settings ReadSettings(const std::string& path) {
    Settings settings;
    const json document = ReadObject(path, "the settings");
    for (const auto& [key, value] : document.items()) {
        if (key == "settle_time_in_secs") {
            settings.settleTime = std::chrono::seconds(Number(path, key, value, 0, 86400));
        } else if (key == "hook_timeout_in_secs") {
            settings.hookTimeout = std::chrono::seconds(Number(path, key, value, 1, 600));
        } else if (key == "max_notices_per_minute") {
            settings.maxPerMinute = static_cast<int>(Number(path, key, value, 1, 600));
        } else {
            throw UnknownSetting(path, key);
        }
    }
    return settings;
}

std::map<std::string, LastNotice> ReadLastNotices(const std::string& path) {
    std::map<std::string, LastNotice> notices;
    const json document = ReadObject(path, "the last notices");
    for (const auto& [name, value] : document.items()) {
        const std::optional<Ctl::ReportState> state =
            value.is_object() ? Ctl::ParseState(value.value("state", "")) : std::nullopt;
        if (!state) {
            throw InvalidMember(path, name);
        }
        notices.emplace(name, LastNotice{*state, value.value("flapping", false)});
    }
    return notices;
}

void WriteLastNotices(const std::string& path, const std::map<std::string, LastNotice>& notices) {
    json document = json::object();
    for (const auto& [name, last] : notices) {
        document[name] = {{"state", Ctl::NameOf(last.state)}, {"flapping", last.isFlapping}};
    }
    Sys::ReplaceFile(path, document.dump() + "\n", kLastNoticesMode);
}

}  // namespace Notify
