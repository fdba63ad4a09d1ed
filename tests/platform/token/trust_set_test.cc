// Which keys of a set are used and what the log says of the others; a set that is missing, broken,
// or changes while the daemon runs.
#include "platform/token/trust_set.h"

#include "platform/pellmar/log/logger.h"
#include "platform/tabulon/json_reader.h"
#include "platform/token/token_verifier.h"
#include "support/captured_log.h"
#include "support/host_directory.h"
#include "support/temporary_directory.h"
#include "test_key.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <map>
#include <string>

namespace {

using ::Test::TestKey;

struct UnusedRow {
    std::string jwk;
    const char* reason;
};

TEST(TrustSet, UsesOnlySuitableKeys) {
    const TestKey ec("P-256");
    const TestKey p384("P-384");
    const TestKey rsa(2048U);
    const UnusedRow rows[] = {
        {"[]", "key 1: it has no kty"},
        {R"({"kty": "oct", "k": "AAAA", "kid": "h"})",
         R"(key 1 (kid "h"): its kty "oct" is not EC or RSA)"},
        {ec.Jwk(R"({"d": "AAAA"})"), "key 1: it has private members; use only the public half"},
        {rsa.Jwk(R"({"q": null, "dp": "AAAA"})"),
         "key 1: it has private members; use only the public half"},
        {p384.Jwk(), "key 1: its crv is not P-256"},
        {p384.Jwk(R"({"crv": "P-256"})"), "key 1: its x is not the base64url of 32 bytes"},
        {ec.Jwk(R"({"y": "AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA"})"),
         "key 1: it is not a valid key; its point may not be on the curve"},
        {ec.Jwk(R"({"alg": "ES384"})"), "key 1: its alg is not ES256"},
        {ec.Jwk(R"({"use": "enc"})"), "key 1: its use is not sig"},
        {ec.Jwk(R"({"key_ops": ["sign"]})"), "key 1: its key_ops do not contain verify"},
        {ec.Jwk(R"({"kid": 1})"), "key 1: its kid is not a string"},
        {rsa.Jwk(R"({"e": "AQ"})"), "key 1: its exponent is not an odd number from 3 to 2^32"},
        {rsa.Jwk(R"({"e": "AQAAAAE"})"), "key 1: its exponent is not an odd number from 3 to 2^32"},
        {rsa.Jwk(R"({"n": "AQ=="})"), "key 1: its n and e are not both base64url"},
        {TestKey(1024U).Jwk(), "key 1: its modulus has 1024 bits; 2048 to 8192 are accepted"},
        {rsa.Jwk(R"({"n": ")" + std::string(1368, '_') + "\"}"),
         "key 1: its modulus has 8208 bits; 2048 to 8192 are accepted"},
    };
    for (const UnusedRow& row : rows) {
        const Token::TrustedKeys read = Token::ParseTrustSet(::Test::SetOf({row.jwk, ec.Jwk()}));
        EXPECT_EQ(read.keys.size(), 1U) << row.jwk;
        EXPECT_EQ(read.unused, std::vector<std::string>{row.reason}) << row.jwk;
    }
}

class TrustSetFile : public testing::Test {
  protected:
    std::size_t KeyCount() { return set.Keys().size(); }

    const ::Test::CapturedLog log;
    const ::Test::TemporaryDirectory directory;
    const std::string path = directory.Path() + "jwks.json";
    Token::TrustSet set{path, Pellmar::Service::Logger::sDefaultLogger};
};

TEST_F(TrustSetFile, LogsOnceWhyEveryTokenIsRefused) {
    const std::map<std::string, std::string> reasonsOfTexts = {
        {"", "is empty"},
        {"{",
         "is not a JWK Set: line 1, column 2: the text ends where a member name in double quotes "
         "or '}' is expected"},
        {R"({"keys": {}})", "is not a JWK Set: it has no list \"keys\""},
        {R"({"keys": [], "keys": []})",
         "is not a JWK Set: line 0, column 0: an object has two members with the same name "
         "(\"keys\")"},
        {R"({"keys": []})", "contains no usable key"},
        {R"({"keys": [1]})", "contains no usable key"},
        {R"({"keys": [0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0]})", "contains more than 16 keys"},
        {std::string(Token::kMaxTrustSetBytes + 1, ' '), "is longer than 1048576 bytes"},
    };
    EXPECT_EQ(KeyCount(), 0U);
    EXPECT_EQ(KeyCount(), 0U);
    EXPECT_EQ(log.Lines(),
              std::vector<std::string>{"3 sentrel: Every token is refused: trust set " + path +
                                       " is missing; run \"sentrelctl token init\", or put a JWK "
                                       "Set of public keys there"});
    for (const auto& [text, reason] : reasonsOfTexts) {
        std::filesystem::remove(path);
        ::Test::WriteFile(path, text);
        EXPECT_EQ(KeyCount(), 0U);
        EXPECT_EQ(KeyCount(), 0U);
        EXPECT_EQ(log.Lines().back(), "3 sentrel: Every token is refused: trust set " + path + " " +
                                          reason +
                                          "; run \"sentrelctl token init\", or put a JWK Set of "
                                          "public keys there");
    }
    EXPECT_EQ(log.Count("Every token is refused"), 1 + reasonsOfTexts.size());
}

TEST_F(TrustSetFile, RefusesPathsThatAreNotFiles) {
    std::filesystem::create_directory(path);
    EXPECT_EQ(KeyCount(), 0U);
    EXPECT_TRUE(log.Contains("is not a regular file"));
    Token::TrustSet relative("jwks.json", Pellmar::Service::Logger::sDefaultLogger);
    EXPECT_TRUE(relative.Keys().empty());
    EXPECT_TRUE(log.Contains("trust set jwks.json is not an absolute path (setting jwks)"));
}

TEST_F(TrustSetFile, IsReadAgainOnlyWhenItChanged) {
    const std::string one = ::Test::SetOf({TestKey("P-256").Jwk()});
    const std::string two = ::Test::SetOf({TestKey("P-256").Jwk(), TestKey("P-256").Jwk()});
    ::Test::WriteFile(path, one);
    EXPECT_EQ(KeyCount(), 1U);
    EXPECT_EQ(KeyCount(), 1U);
    EXPECT_EQ(log.Count("read, keys in use: 1"), 1U);

    const std::string beside = directory.Path() + "new";
    ::Test::WriteFile(beside, two);
    std::filesystem::last_write_time(beside, std::filesystem::last_write_time(path));
    std::filesystem::rename(beside, path);  // another file with the old time
    EXPECT_EQ(KeyCount(), 2U);

    std::filesystem::remove(path);
    EXPECT_EQ(KeyCount(), 0U);
    ::Test::WriteFile(path, one);
    EXPECT_EQ(KeyCount(), 1U);
}

TEST(TrustSettings, HaveDefaults) {
    const auto reader = Tabulon::MakeJsonReader(
        {}, nlohmann::json::parse(R"({"audience": "reports"})"), nlohmann::json::object());
    const Token::TrustSettings settings = Token::ReadTrustSettings(*reader);
    EXPECT_EQ(settings.issuer, "sentrel");
    EXPECT_EQ(settings.audience, "reports");
    EXPECT_EQ(settings.jwks, "/etc/korvex/oru/token/jwks.json");
}

}  // namespace
