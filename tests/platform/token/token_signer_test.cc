// Signing keys as files, their tokens in the eyes of the verifier, and the public half in a set.
#include "platform/token/token_signer.h"

#include "platform/pellmar/exceptions.h"
#include "platform/pellmar/log/logger.h"
#include "platform/token/token_verifier.h"
#include "support/captured_log.h"
#include "support/host_directory.h"
#include "support/temporary_directory.h"
#include "test_key.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <string>

namespace {

using ::Test::ModeOf;
using Token::SigningKey;

constexpr std::chrono::sys_seconds kNow{std::chrono::seconds(1'800'000'000)};

const Token::TokenRequest kRequest{"sentrel",  "sentrel", "ada",
                                   {"a", "b"}, kNow,      std::chrono::hours(1)};

class TokenSigner : public testing::Test {
  protected:
    std::string OutcomeOf(const std::string& token) {
        Token::TokenVerifier verifier({"sentrel", "sentrel", setPath},
                                      Pellmar::Service::Logger::sDefaultLogger);
        std::string reason;
        return verifier.Verify(token, kNow, claims, reason) ? "" : reason;
    }

    const ::Test::CapturedLog log;
    const ::Test::TemporaryDirectory directory;
    const std::string keyPath = directory.Path() + "var/token/signing-key.json";
    const std::string setPath = directory.Path() + "etc/token/jwks.json";
    Token::TokenClaims claims;
};

TEST_F(TokenSigner, SignsTokensThatItsPublicHalfVerifies) {
    SigningKey::Generate().Save(keyPath);
    const SigningKey key = SigningKey::Load(keyPath);
    key.AddToTrustSet(setPath);
    EXPECT_EQ(OutcomeOf(key.Sign(kRequest)), "");
    EXPECT_EQ(claims.subject, "ada");
    EXPECT_EQ(claims.entitlements, (std::vector<std::string>{"a", "b"}));
    EXPECT_EQ(claims.expires, kNow + std::chrono::hours(1));

    EXPECT_EQ(ModeOf(keyPath), 0600U);
    EXPECT_EQ(ModeOf(directory.Path() + "var/token"), 0700U);
    EXPECT_EQ(ModeOf(setPath), 0644U);
    EXPECT_EQ(ModeOf(directory.Path() + "etc/token"), 0755U);
    for (const std::string& path : {keyPath, setPath}) {
        const std::filesystem::directory_iterator files(std::filesystem::path(path).parent_path());
        EXPECT_EQ(std::distance(begin(files), end(files)), 1) << "a temporary file is left";
    }
}

TEST_F(TokenSigner, NamesAKeyByItsThumbprint) {
    // The key of RFC 7515, appendix A.3.1, and its thumbprint as worked out by hand (RFC 7638).
    std::filesystem::create_directories(directory.Path() + "var/token");
    ::Test::WriteFile(keyPath, R"({"kty": "EC", "crv": "P-256",
        "x": "f83OJ3D2xF1Bg8vub9tLe1gHMzV76e8Tus9uPHvRVEU",
        "y": "x_FEzRu9m36HLN_tue659LNpXW6pCyStikYjKIWI5a0",
        "d": "jpsQnnGQmL-YBIffH1136cspYG6-0iY7X1fCE9-E9LI"})");
    EXPECT_EQ(SigningKey::Load(keyPath).GetId(), "oKIywvGUpTVTyxMQ3bwIIeQUudfr_CkLMjCE19ECD-U");
}

TEST_F(TokenSigner, KeepsOtherKeysOfTheSet) {
    const SigningKey key = SigningKey::Generate();
    std::filesystem::create_directories(directory.Path() + "etc/token");
    const std::string other = ::Test::TestKey("P-256").Jwk(R"({"kid": "old"})");
    ::Test::WriteFile(setPath, R"({"note": "ours", "keys": [)" + other + ", 5]}");
    key.AddToTrustSet(setPath);
    key.AddToTrustSet(setPath);
    const auto set = nlohmann::json::parse(::Test::ReadFile(setPath));
    EXPECT_EQ(set["note"], "ours");
    ASSERT_EQ(set["keys"].size(), 3U);
    EXPECT_EQ(set["keys"][0], nlohmann::json::parse(other));
    EXPECT_EQ(set["keys"][2]["kid"], key.GetId());
    EXPECT_FALSE(set["keys"][2].contains("d"));
}

TEST_F(TokenSigner, RefusesFilesWithoutASigningKey) {
    EXPECT_THROW(SigningKey::Load(keyPath), Pellmar::NotFoundException);
    std::filesystem::create_directories(directory.Path() + "var/token");
    const ::Test::TestKey key("P-256");
    const std::string wrongHalf = R"({"d": "jpsQnnGQmL-YBIffH1136cspYG6-0iY7X1fCE9-E9LI"})";
    for (const std::string& text :
         {std::string(), std::string("{}"), std::string("[]"), key.Jwk(), key.Jwk(wrongHalf),
          ::Test::TestKey("P-384").Jwk(wrongHalf), ::Test::TestKey(2048U).Jwk()}) {
        ::Test::WriteFile(keyPath, text);
        EXPECT_THROW(SigningKey::Load(keyPath), Pellmar::Exception) << text;
    }
}

TEST_F(TokenSigner, RefusesToSignInvalidTokens) {
    const SigningKey key = SigningKey::Generate();
    Token::TokenRequest request = kRequest;
    for (const std::string& subject : {std::string(), std::string(257, 'x'), std::string("\xff")}) {
        request.subject = subject;
        EXPECT_THROW(key.Sign(request), Pellmar::InvalidArgumentException) << subject;
    }
    request = kRequest;
    request.entitlements.assign(256, std::string(256, 'x'));
    EXPECT_THROW(key.Sign(request), Pellmar::InvalidArgumentException);
}

}  // namespace
