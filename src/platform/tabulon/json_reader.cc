#include "platform/tabulon/json_reader.h"

#include "platform/pellmar/log/logger.h"
#include "platform/tabulon/json_lookup.h"

#include <nlohmann/json.hpp>

#include <cstdint>

namespace Tabulon {

namespace {

using Pellmar::Service::ConfigReader;
using Pellmar::Service::Logger;

class JsonReader final : public ConfigReader {
  public:
    JsonReader(const EntryPaths& paths, const nlohmann::json& vendor, const nlohmann::json& host)
        : paths(paths), host(host), values(Merge(vendor, host)) {}

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
    // The value of `key` if it exists and has the wanted type; null otherwise.
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
    const nlohmann::json values;
    const Pellmar::Ref<Logger> logger = Logger::CreateLogger(Logger::sDefaultLogger, "Tabulon");
};

}  // namespace

Pellmar::Ref<ConfigReader> MakeJsonReader(const EntryPaths& paths, const nlohmann::json& vendor,
                                          const nlohmann::json& host) {
    return Pellmar::MakeRef<JsonReader>(paths, vendor, host);
}

}  // namespace Tabulon
