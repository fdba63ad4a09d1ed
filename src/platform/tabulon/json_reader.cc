#include "platform/tabulon/json_reader.h"

#include "platform/pellmar/logger.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdint>
#include <limits>

namespace Tabulon {

namespace {

using Pellmar::Service::ConfigReader;
using Pellmar::Service::Logger;

constexpr std::int64_t kMinInt32 = std::numeric_limits<std::int32_t>::min();
constexpr std::int64_t kMaxInt32 = std::numeric_limits<std::int32_t>::max();

// How far a key leads into a document.
struct Place {
    const nlohmann::json* value;  // the last value on the key's way; never null
    std::string_view path;        // the part of the key that leads to it
    bool isWhole;                 // whether that is the whole key
};

Place FollowKey(const nlohmann::json& document, std::string_view key) {
    const nlohmann::json* value = &document;
    for (std::size_t start = 0; start <= key.size();) {
        const std::size_t end = std::min(key.find('/', start), key.size());
        const auto member = value->find(key.substr(start, end - start));  // none in a scalar
        if (member == value->end()) {
            return {value, key.substr(0, start == 0 ? 0 : start - 1), false};
        }
        value = &*member;
        start = end + 1;
    }
    return {value, key, true};
}

bool IsInt32(const nlohmann::json& value) {
    if (value.is_number_unsigned()) {
        return value.get<std::uint64_t>() <= std::uint64_t{kMaxInt32};
    }
    return value.is_number_integer() && value.get<std::int64_t>() >= kMinInt32 &&
           value.get<std::int64_t>() <= kMaxInt32;
}

std::string_view TypeName(const nlohmann::json& value) {
    if (value.is_number_integer()) {
        return IsInt32(value) ? "an integer" : "an integer outside 32 bits";
    }
    if (value.is_number()) {
        return "a number with a fraction or an exponent";
    }
    if (value.is_boolean()) {
        return "a boolean";
    }
    if (value.is_string()) {
        return "a string";
    }
    return value.is_array() ? "an array" : "an object";
}

class JsonReader final : public ConfigReader {
  public:
    JsonReader(const EntryPaths& paths, const nlohmann::json& vendor, const nlohmann::json& host)
        : paths(paths), host(host), values(nlohmann::json::object()) {
        // Each as a patch of nothing, so that a null removes its member in either file.
        values.merge_patch(vendor);
        values.merge_patch(host);
    }

    bool GetInt(std::string_view key, std::int32_t& value) const override {
        const nlohmann::json* found = Find(key, IsInt32, "an integer of 32 bits");
        if (found == nullptr) {
            return false;
        }
        value = found->get<std::int32_t>();
        return true;
    }

    bool GetBool(std::string_view key, bool& value) const override {
        const auto isBoolean = [](const nlohmann::json& found) { return found.is_boolean(); };
        const nlohmann::json* found = Find(key, isBoolean, "a boolean");
        if (found == nullptr) {
            return false;
        }
        value = found->get<bool>();
        return true;
    }

    bool GetString(std::string_view key, std::string& value) const override {
        const auto isString = [](const nlohmann::json& found) { return found.is_string(); };
        const nlohmann::json* found = Find(key, isString, "a string");
        if (found == nullptr) {
            return false;
        }
        value = found->get_ref<const std::string&>();
        return true;
    }

  private:
    // The value of `key` when it is there and of the wanted type; null otherwise.
    const nlohmann::json* Find(std::string_view key, bool (*isWanted)(const nlohmann::json&),
                               std::string_view wanted) const {
        const Place place = FollowKey(values, key);
        if (place.isWhole && isWanted(*place.value)) {
            return place.value;
        }
        if (place.isWhole) {
            LogWrongType(place, wanted);
        } else if (!place.value->is_object()) {
            LogWrongType(place, "an object");
        }
        return nullptr;
    }

    void LogWrongType(const Place& place, std::string_view wanted) const {
        const bool isOfHost = FollowKey(host, place.path).isWhole;
        Pellmar::Service::LogInternal(
            logger, 3,
            "%1: the value of \"%2\" must be %3 but is %4, so it counts as missing; correct the "
            "file and restart",
            isOfHost ? paths.host : paths.vendor, place.path, wanted, TypeName(*place.value));
    }

    const EntryPaths paths;
    const nlohmann::json host;
    nlohmann::json values;
    const Pellmar::Ref<Logger> logger = Logger::CreateLogger(Logger::sDefaultLogger, "Tabulon");
};

}  // namespace

Pellmar::Ref<ConfigReader> MakeJsonReader(const EntryPaths& paths, const nlohmann::json& vendor,
                                          const nlohmann::json& host) {
    return Pellmar::MakeRef<JsonReader>(paths, vendor, host);
}

}  // namespace Tabulon
