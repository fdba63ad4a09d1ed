// Tokens that are believed and, in tables, all those that are not: really signed ones whose header
// or claims are wrong, forgeries, and texts that are no tokens. All at one fixed time.
#include "platform/token/token_verifier.h"

#include "platform/pellmar/log/logger.h"
#include "platform/token/jwt.h"
#include "support/captured_log.h"
#include "support/host_directory.h"
#include "support/temporary_directory.h"
#include "test_key.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <string>

namespace {

using nlohmann::json;
using std::string_literals::operator""s;
using ::Test::TestKey;

constexpr std::chrono::sys_seconds kNow{std::chrono::seconds(1'800'000'000)};

const char* const kHeader = R"({"alg": "ES256", "kid": "ec", "typ": "JWT"})";
const char* const kClaims = R"({"iss": "sentrel", "aud": "sentrel", "sub": "ada",
    "entitlements": ["observability.reports.read", "x"], "exp": 1800000100, "iat": 1799999000})";

// RSA keys are slow to make: all tests share these.
struct TestKeys {
    TestKey ec{"P-256"};
    TestKey otherEc{"P-256"};
    TestKey p384{"P-384"};
    TestKey rsa{2048U};
    TestKey smallRsa{1024U};
};

const TestKeys& Keys() {
    static const TestKeys sKeys;
    return sKeys;
}

std::string Patched(const char* document, const char* patch) {
    json result = json::parse(document);
    result.merge_patch(json::parse(patch));
    return result.dump();
}

std::string SignBy(const TestKey& key, std::string_view header, std::string_view payload) {
    const std::string text = ::Test::SignedText(header, payload);
    return ::Test::WithSignature(text, key.Sign(text));
}

std::string GoodToken() { return SignBy(Keys().ec, kHeader, kClaims); }

class TokenVerifier : public testing::Test {
  protected:
    TokenVerifier() {
        ::Test::WriteFile(settings.jwks,
                          ::Test::SetOf({Keys().otherEc.Jwk(R"({"kid": "other"})"),
                                         Keys().rsa.Jwk(R"({"kid": "rsa", "use": "sig"})"),
                                         Keys().smallRsa.Jwk(R"({"kid": "small"})"),
                                         Keys().p384.Jwk(R"({"kid": "p384"})"),
                                         Keys().ec.Jwk(R"({"kid": "ec", "alg": "ES256"})")}));
    }

    // Empty when the token is believed, else the reason.
    std::string Outcome(std::string_view token, std::chrono::system_clock::time_point now = kNow) {
        std::string reason;
        return verifier.Verify(token, now, claims, reason) ? "" : reason;
    }

    const ::Test::CapturedLog log;
    const ::Test::TemporaryDirectory directory;
    const Token::TrustSettings settings{"sentrel", "sentrel", directory.Path() + "jwks.json"};
    Token::TokenVerifier verifier{settings, Pellmar::Service::Logger::sDefaultLogger};
    Token::TokenClaims claims;
};

// A token of `key` with the usual header and claims, changed by merge patches.
struct SignedRow {
    const char* header;
    const char* claims;
    const char* reason = "";
    TestKey TestKeys::* key = &TestKeys::ec;
};

// Its signature is not checked again, everything else is.
TEST_F(TokenVerifier, AcceptsAKnownTokenNoLongerThanItsKeyAndTimes) {
    const std::string token = GoodToken();
    ASSERT_EQ(Outcome(token), "");
    std::string forged = token;
    forged.back() = forged.back() == 'A' ? 'Q' : 'A';
    EXPECT_NE(Outcome(forged), "");
    EXPECT_EQ(Outcome(token), "");
    EXPECT_NE(Outcome(token, kNow + std::chrono::hours(1)), "");
    ::Test::WriteFile(settings.jwks, ::Test::SetOf({Keys().otherEc.Jwk(R"({"kid": "other"})")}));
    EXPECT_EQ(Outcome(token), "no trusted key has its kid \"ec\"");
}

TEST_F(TokenVerifier, AcceptsEveryValidToken) {
    const SignedRow rows[] = {
        {R"({"kid": null})", "{}"},  // each fitting key is tried
        {R"({"kid": null, "alg": "RS256"})", "{}", "", &TestKeys::rsa},
        {R"({"kid": "rsa", "alg": "RS256"})", "{}", "", &TestKeys::rsa},
        {R"({"typ": null, "cty": "x", "x5t": 5})", "{}"},
        {R"({"typ": "at+JWT"})", R"({"entitlements": null, "more": {"sub": 1}})"},
        {"{}", R"({"aud": ["other", "sentrel"], "iat": null})"},
        {"{}", R"({"exp": 1799999940.5, "nbf": 1800000060})"},  // both within the leeway
        {"{}", R"({"exp": 1e300, "nbf": -1e300, "entitlements": []})"},
    };
    for (const SignedRow& row : rows) {
        EXPECT_EQ(Outcome(SignBy(Keys().*row.key, Patched(kHeader, row.header),
                                 Patched(kClaims, row.claims))),
                  "")
            << row.header << row.claims;
    }
}

TEST_F(TokenVerifier, RefusesHeaders) {
    const SignedRow rows[] = {
        {R"({"alg": "none"})", "{}", R"(its alg "none" is not ES256 or RS256)"},
        {R"({"alg": "es256"})", "{}", R"(its alg "es256" is not ES256 or RS256)"},
        {R"({"alg": "HS256"})", "{}", R"(its alg "HS256" is not ES256 or RS256)"},
        {R"({"alg": "ES384"})", "{}", R"(its alg "ES384" is not ES256 or RS256)"},
        {R"({"alg": null})", "{}", "its alg is missing or not a string"},
        {R"({"alg": ["ES256"]})", "{}", "its alg is missing or not a string"},
        {R"({"alg": "RS256"})", "{}", R"(no trusted key with the kid "ec" is for its alg RS256)"},
        {R"({"kid": "rsa"})", "{}", R"(no trusted key with the kid "rsa" is for its alg ES256)"},
        {R"({"kid": 5})", "{}", "its kid is not a string"},
        {R"({"kid": "who\u001b[1m"})", "{}", "no trusted key has its kid \"who\x1b[1m\""},
        {R"({"kid": "other"})", "{}", R"(its signature does not match the key "other")"},
        {R"({"kid": null})", "{}", "its signature matches no trusted key", &TestKeys::p384},
        {R"({"kid": "p384"})", "{}", R"(no trusted key has its kid "p384")", &TestKeys::p384},
        {R"({"kid": "small", "alg": "RS256"})", "{}", R"(no trusted key has its kid "small")",
         &TestKeys::smallRsa},
        {R"({"kid": null, "alg": "RS256"})", "{}", "its signature matches no trusted key",
         &TestKeys::smallRsa},
        {R"({"typ": "JWE"})", "{}", R"(its typ "JWE" is not JWT or at+jwt)"},
        {R"({"typ": 1})", "{}", R"(its typ "" is not JWT or at+jwt)"},
        {R"({"crit": []})", "{}", "its header has the member crit, which is never accepted"},
        {R"({"jwk": {}})", "{}", "its header has the member jwk, which is never accepted"},
        {R"({"jku": "x"})", "{}", "its header has the member jku, which is never accepted"},
        {R"({"x5c": []})", "{}", "its header has the member x5c, which is never accepted"},
        {R"({"x5u": "x"})", "{}", "its header has the member x5u, which is never accepted"},
        {R"({"b64": true})", "{}", "its header has the member b64, which is never accepted"},
    };
    for (const SignedRow& row : rows) {
        EXPECT_EQ(Outcome(SignBy(Keys().*row.key, Patched(kHeader, row.header),
                                 Patched(kClaims, row.claims))),
                  row.reason)
            << row.header;
    }
    const std::string longKid = R"({"kid": ")" + std::string(63, 'k') + R"(\u20ac"})";
    EXPECT_EQ(Outcome(SignBy(Keys().ec, Patched(kHeader, longKid.c_str()), kClaims)),
              "no trusted key has its kid \"" + std::string(63, 'k') + "\"...");
    const std::string ownKey = R"({"kid": null, "jwk": )" + Keys().p384.Jwk() + "}";
    EXPECT_EQ(Outcome(SignBy(Keys().p384, Patched(kHeader, ownKey.c_str()), kClaims)),
              "its header has the member jwk, which is never accepted");
}

TEST_F(TokenVerifier, RefusesClaims) {
    const std::string long257 = std::string(257, 'x');
    const std::string longSub = R"({"sub": ")" + long257 + "\"}";
    const std::string longName = R"({"entitlements": [")" + long257 + "\"]}";
    const std::string manyNames = json{{"entitlements", std::vector<std::string>(257)}}.dump();
    const char* const badNames =
        "its entitlements are not a list of at most 256 strings of at most 256 bytes";
    const struct {
        const char* claims;
        const char* reason;
    } rows[] = {
        {R"({"iss": null})", "its iss is missing or not a string"},
        {R"({"iss": ["sentrel"]})", "its iss is missing or not a string"},
        {R"({"iss": "sentrel "})", R"(its iss "sentrel " is not the issuer "sentrel")"},
        {R"({"aud": null})", "it has no aud"},
        {R"({"aud": "Sentrel"})", R"(its aud does not contain the audience "sentrel")"},
        {R"({"aud": [["sentrel"]]})", "its aud is neither a string nor a list of strings"},
        {R"({"exp": null})", "its exp is missing or not a number"},
        {R"({"exp": "1800000100"})", "its exp is missing or not a number"},
        {R"({"exp": 1799999940})", "it has expired (exp)"},
        {R"({"nbf": 1800000060.5})",
         "it is not valid yet (nbf); the clocks of issuer and host may differ"},
        {R"({"nbf": "0"})", "its nbf is not a number"},
        {R"({"iat": false})", "its iat is not a number"},
        {R"({"sub": null})", "its sub is missing or not a string"},
        {R"({"sub": 1})", "its sub is missing or not a string"},
        {R"({"sub": ""})", "its sub has 0 bytes; 1 to 256 are accepted"},
        {longSub.c_str(), "its sub has 257 bytes; 1 to 256 are accepted"},
        {R"({"sub": "a\u0000b"})", "its sub contains control characters"},
        {R"({"sub": "a\nb"})", "its sub contains control characters"},
        {R"({"entitlements": "x"})", badNames},
        {R"({"entitlements": ["x", 1]})", badNames},
        {longName.c_str(), badNames},
        {manyNames.c_str(), badNames},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Outcome(SignBy(Keys().ec, kHeader, Patched(kClaims, row.claims))), row.reason)
            << row.claims;
    }
    EXPECT_EQ(Outcome(GoodToken(), kNow + std::chrono::seconds(160)), "it has expired (exp)");
    EXPECT_EQ(Outcome(SignBy(Keys().ec, kHeader, R"({"entitlements": null})")),
              "its iss is missing or not a string");
}

TEST_F(TokenVerifier, RefusesPartsThatAreNotJson) {
    const std::string deep = R"({"a": )" + std::string(256, '[') + std::string(256, ']') + "}";
    const struct {
        std::string header;
        std::string payload;
        const char* reason;
    } rows[] = {
        {R"({"alg": "ES256", "alg": "none"})", kClaims,
         "its header is not accepted as JSON: an object has two members with the same name "
         "(\"alg\")"},
        {kHeader, R"({"sub": "ada", "s\u0075b": "root"})",
         "its payload is not accepted as JSON: an object has two members with the same name "
         "(\"sub\")"},
        {kHeader, deep, "its payload is not accepted as JSON: nested deeper than 256 levels"},
        {kHeader, "null",
         "its payload is not accepted as JSON: expected an object, '{', found 'null'"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Outcome(SignBy(Keys().ec, row.header, row.payload)), row.reason) << row.payload;
    }
}

TEST_F(TokenVerifier, RefusesForgedSignatures) {
    const std::string text = ::Test::SignedText(kHeader, kClaims);
    const std::string good = Keys().ec.Sign(text);
    const std::string zero(32, '\0');
    const std::string otherPayload =
        ::Test::SignedText(kHeader, Patched(kClaims, R"({"sub": "root"})"));
    const std::string otherHeader =
        ::Test::SignedText(Patched(kHeader, R"({"typ": "at+jwt"})"), kClaims);
    const char* const wrong = R"(its signature does not match the key "ec")";
    const struct {
        const char* name;
        std::string token;
        const char* reason;
    } rows[] = {
        {"other payload", ::Test::WithSignature(otherPayload, good), wrong},
        {"other header", ::Test::WithSignature(otherHeader, good), wrong},
        {"other key", ::Test::WithSignature(text, Keys().otherEc.Sign(text)), wrong},
        {"RSA", ::Test::WithSignature(text, Keys().rsa.Sign(text)), wrong},
        {"ASN.1", ::Test::WithSignature(text, Keys().ec.SignAsn1(text)), wrong},
        {"short", ::Test::WithSignature(text, good.substr(0, 63)), wrong},
        {"long", ::Test::WithSignature(text, good + '\0'), wrong},
        {"zero", ::Test::WithSignature(text, zero + zero), wrong},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Outcome(row.token), row.reason) << row.name;
    }
    for (std::size_t bit = 0; bit < 8 * good.size(); ++bit) {
        std::string changed = good;
        changed[bit / 8] = static_cast<char>(changed[bit / 8] ^ (1 << bit % 8));
        EXPECT_EQ(Outcome(::Test::WithSignature(text, changed)), wrong) << bit;
    }
    EXPECT_EQ(Outcome(::Test::WithSignature(text, good)), "");
}

TEST_F(TokenVerifier, RefusesMalformedTokens) {
    const std::string good = GoodToken();
    const std::string text = good.substr(0, good.rfind('.'));
    const std::string signature = good.substr(text.size() + 1);
    const std::string atBound =
        text + "." + std::string(Token::kMaxTokenBytes - text.size() - 1, 'A');
    const char* const notThree = "it does not have three parts separated by dots";
    const char* const noHeader = "its header is not base64url without padding";
    const char* const noSignature = "its signature is not base64url without padding";
    const struct {
        std::string token;
        const char* reason;
    } rows[] = {
        {"", notThree},
        {text, notThree},
        {good + ".", notThree},
        {"." + good.substr(good.find('.') + 1) + ".", notThree},
        {good.substr(good.find('.')), "one of its three parts is empty"},
        {good.substr(0, good.find('.')) + ".." + signature, "one of its three parts is empty"},
        {" " + good, noHeader},
        {good + "\0"s, noSignature},
        {good + "==", noSignature},
        {good + "AAA", noSignature},                // a length that no bytes have
        {text + ".QUJ" + "D" + "QR", noSignature},  // bits behind the last byte
        {text + ".QUJDQQ+/", noSignature},
        {atBound, R"(its signature does not match the key "ec")"},
        {atBound + "A", "it is longer than 8192 bytes"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Outcome(row.token), row.reason) << row.token;
    }
}

}  // namespace
