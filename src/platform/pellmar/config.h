// The interface through which the framework and the system read their configuration. The host's
// configuration store implements it.
#pragma once

#include "platform/pellmar/object.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace Pellmar::Service {

// Reads settings by key. Each call returns whether the key exists with a value of the wanted type,
// and otherwise leaves `value` unchanged. Keys are passed as they are, "/" included.
class ConfigReader : public ObjectImpl {
  public:
    virtual bool GetInt(std::string_view key, std::int32_t& value) const = 0;
    virtual bool GetBool(std::string_view key, bool& value) const = 0;
    virtual bool GetString(std::string_view key, std::string& value) const = 0;
};

// A loaded entry of the configuration store. Immutable once initialised, so any thread may read.
class Config : public ObjectImpl {
  public:
    // Call it once, right after creation and before any other use.
    virtual void Initialize() = 0;
    virtual Ref<ConfigReader> GetReader() const = 0;
    // The reader of another entry of the same store; without any value if that entry does not
    // exist. Throws a std::exception if the entry is invalid.
    virtual Ref<ConfigReader> GetReaderOf(std::string_view key, std::string_view group,
                                          std::string_view component) const = 0;
};

}  // namespace Pellmar::Service
