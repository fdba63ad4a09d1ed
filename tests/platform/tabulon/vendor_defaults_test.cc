// The defaults that are shipped: they can be read, and a start with them warns of nothing.
#include "platform/tabulon/json_config.h"

#include "store_directory.h"
#include "support/captured_log.h"
#include "support/host_directory.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace {

Pellmar::Ref<Pellmar::Service::ConfigReader> ShippedReader(const std::string& key) {
    ::Test::WriteVendorFile(
        key, ::Test::ReadFile(std::string(SENTREL_VENDOR_DEFAULTS "/oru/health/") + key + ".json"));
    const auto config = Tabulon::CreateTabulonConfigWithFallbackToDefault({::Test::EntryOf(key)});
    config->Initialize();
    return config->GetReader();
}

TEST(VendorDefaults, HoldEverySettingThatWouldBeWarnedOf) {
    const ::Test::CapturedLog log;
    const auto daemon = ShippedReader("sentrel");
    std::int32_t value = 0;
    EXPECT_TRUE(daemon->GetInt("http_port", value));
    EXPECT_EQ(value, 9996);
    EXPECT_TRUE(daemon->GetInt("plugin_resource_pool_size_MB", value));
    EXPECT_TRUE(value > 40 && value <= 500) << value;
    EXPECT_TRUE(ShippedReader("pellmar")->GetInt("log/level", value));
    EXPECT_EQ(value, 5);
    EXPECT_EQ(log.Lines(), std::vector<std::string>());
}

}  // namespace
