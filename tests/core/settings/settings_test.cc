// The intake port with and without its setting, and the one message about it.
#include "core/settings/settings.h"

#include "support/captured_log.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace {

using Pellmar::Service::Logger;

// Holds integers alone.
class Integers final : public Pellmar::Service::ConfigReader {
  public:
    explicit Integers(std::map<std::string, std::int32_t, std::less<>> values)
        : values(std::move(values)) {}

    bool GetInt(std::string_view key, std::int32_t& value) const override {
        const auto found = values.find(key);
        if (found == values.end()) {
            return false;
        }
        value = found->second;
        return true;
    }
    bool GetBool(std::string_view, bool&) const override { return false; }
    bool GetString(std::string_view, std::string&) const override { return false; }

  private:
    const std::map<std::string, std::int32_t, std::less<>> values;
};

class HttpPort : public testing::Test {
  protected:
    static std::int32_t PortWith(const std::map<std::string, std::int32_t, std::less<>>& values) {
        const auto logger = Logger::CreateLogger(Logger::sDefaultLogger, "Caller");
        return Sentrel::GetHttpPort(Pellmar::MakeRef<Integers>(values), logger);
    }

    const ::Test::CapturedLog log;
};

TEST_F(HttpPort, IsTheSettingWhateverItIs) {
    for (const std::int32_t port : {12345, 9996, 0, -1, 70000}) {
        EXPECT_EQ(PortWith({{"http_port", port}}), port);
    }
    EXPECT_EQ(log.Lines(), std::vector<std::string>());
}

TEST_F(HttpPort, FallsBackAndSaysSoAtEveryRead) {
    EXPECT_EQ(PortWith({}), 9996);
    EXPECT_EQ(PortWith({{"httpPort", 1}}), 9996);
    const std::string line = "3 Caller: httpPort not present. Assuming default: 9996";
    EXPECT_EQ(log.Lines(), std::vector<std::string>({line, line}));
}

}  // namespace
