// Issues tokens, for the operator's tool: generates, stores and loads a signing key, signs tokens,
// and adds the public half to the trust set. The daemon only verifies.
#pragma once

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

namespace Token {

// The content of a token. exp is `issued` plus `lifetime`.
struct TokenRequest {
    std::string issuer;
    std::string audience;
    std::string subject;
    std::vector<std::string> entitlements;
    std::chrono::sys_seconds issued;
    std::chrono::seconds lifetime{};
};

// An ES256 key with its private half and its RFC 7638 thumbprint as `kid`. All paths are host
// paths. Every failure throws Pellmar::Exception or one of its kinds, whose text names the file and
// what to do.
class SigningKey {
  public:
    static SigningKey Generate();
    // Throws Pellmar::NotFoundException if the file does not exist.
    static SigningKey Load(const std::string& path);

    // Writes both halves to `path`, atomically, mode 0600, replacing an existing file; creates a
    // missing directory with mode 0700.
    void Save(const std::string& path) const;
    // Adds the public half to the JWK Set at `path`, atomically, mode 0644; creates a missing set.
    // Replaces a key with the same kid and keeps everything else. Fails, leaving the file
    // unchanged, if it is not a JWK Set. A lock serializes callers, including other processes.
    void AddToTrustSet(const std::string& path) const;

    const std::string& GetId() const { return id; }
    // Returns the token in compact serialization. Throws Pellmar::InvalidArgumentException for a
    // token that is never valid: an empty subject, a name that is too long, too many entitlements.
    std::string Sign(const TokenRequest& request) const;

  private:
    // `jwk` is a JSON object with both halves.
    explicit SigningKey(const std::string& jwk);

    std::string SignText(std::string_view payload) const;

    std::string privateJwk;  // JSON texts, each with its kid
    std::string publicJwk;
    std::string id;
};

}  // namespace Token
