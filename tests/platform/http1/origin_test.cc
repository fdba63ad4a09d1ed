#include "platform/http1/origin.h"

#include <gtest/gtest.h>

#include <string_view>

namespace {

TEST(Origin, IsLocalOnlyAsLocalhostOrALoopbackAddress) {
    struct {
        std::string_view origin;
        bool isLoopback;
    } const rows[] = {
        {"http://localhost", true},
        {"https://LocalHost:3000", true},
        {"http://127.0.0.1:9996", true},
        {"http://[::1]:9984", true},
        {"http://[::ffff:127.0.0.1]", true},
        {"null", false},
        {"", false},
        {"file://localhost", false},
        {"http://localhost.evil.example", false},
        {"http://localhost:80@evil.example", false},
        {"http://localhost/", false},
        {"http://localhost http://evil.example", false},
        {"http://localhost:", false},
        {"http://128.0.0.1", false},
        {"http://127.1", false},
        {"http://[::2]", false},
        {"http://[::ffff:128.0.0.1]", false},
        {"http://[::1]x", false},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Http1::IsLoopbackOrigin(row.origin), row.isLoopback) << row.origin;
    }
}

}  // namespace
