// The issuing side of tokens, for the operator's tool: a signing key, where it is kept, the tokens
// that it signs, and its public half in the trust set. The daemon only verifies.
#pragma once

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

namespace Token {

// What a token is to say. exp is `issued` and `lifetime` later.
struct TokenRequest {
    std::string issuer;
    std::string audience;
    std::string subject;
    std::vector<std::string> entitlements;
    std::chrono::sys_seconds issued;
    std::chrono::seconds lifetime{};
};

// An ES256 key with its private half, and its RFC 7638 thumbprint as `kid`. All paths are host
// paths. Every failure is a Pellmar::Exception or one of its kinds, whose text names the file and
// what to do.
class SigningKey {
  public:
    static SigningKey Generate();
    // Pellmar::NotFoundException when there is no file.
    static SigningKey Load(const std::string& path);

    // Writes both halves to `path`, atomically, mode 0600, replacing what is there; a directory
    // that is missing is made with mode 0700.
    void Save(const std::string& path) const;
    // Adds the public half to the JWK Set at `path`, atomically, mode 0644; a set that is missing
    // is made. A key of the same kid is replaced, all else in the set is kept, and what is no JWK
    // Set is left alone, which is a failure. Callers take turns, other processes too.
    void AddToTrustSet(const std::string& path) const;

    const std::string& GetId() const { return id; }
    // The token in compact serialization. Pellmar::InvalidArgumentException when a verifier would
    // refuse it whatever the time: an empty subject, a name that is too long, too many of them.
    std::string Sign(const TokenRequest& request) const;

  private:
    // `jwk`: a JSON object with both halves.
    explicit SigningKey(const std::string& jwk);

    std::string SignText(std::string_view payload) const;

    std::string privateJwk;  // JSON texts, each with its kid
    std::string publicJwk;
    std::string id;
};

}  // namespace Token
