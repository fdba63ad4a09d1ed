// The configuration as the framework and the system read it. The host configuration store
// implements it; the framework knows only this.
#pragma once

#include "platform/pellmar/object.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace Pellmar::Service {

// Reads settings by key. Each call returns whether the key is there with a value of the wanted
// type, and leaves `value` unchanged when it is not. Keys are passed as they stand, "/" included.
class ConfigReader : public ObjectImpl {
  public:
    virtual bool GetInt(std::string_view key, std::int32_t& value) const = 0;
    virtual bool GetBool(std::string_view key, bool& value) const = 0;
    virtual bool GetString(std::string_view key, std::string& value) const = 0;
};

// One loaded entry of the configuration store. Immutable once initialised, so any thread may read.
class Config : public ObjectImpl {
  public:
    // Called once, right after creation, before any other use.
    virtual void Initialize() = 0;
    virtual Ref<ConfigReader> GetReader() const = 0;
    // The reader of another entry of the same store, with no value at all when that entry does not
    // exist. Throws a std::exception when it is broken.
    virtual Ref<ConfigReader> GetReaderOf(std::string_view key, std::string_view group,
                                          std::string_view component) const = 0;
};

}  // namespace Pellmar::Service
