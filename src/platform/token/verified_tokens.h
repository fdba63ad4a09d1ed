// Remembers tokens with a valid signature, so that a client that keeps calling with one token costs
// one signature check, the most expensive part of a small call. All other checks, especially of
// times, are made at each call.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace Token {

inline constexpr std::size_t kMaxVerifiedTokens = 32;

// Keeps digests, not tokens. One thread at a time.
class VerifiedTokens {
  public:
    // Whether the token was added under this generation of the trusted keys.
    bool Has(std::string_view token, std::uint64_t keyGeneration);
    // Adds the token in place of the oldest one. Forgets those of another generation.
    void Add(std::string_view token, std::uint64_t keyGeneration);

  private:
    using Digest = std::array<unsigned char, 32>;  // SHA-256

    static bool DigestOf(std::string_view token, Digest& digest);
    void ForgetUnless(std::uint64_t wanted);

    std::array<Digest, kMaxVerifiedTokens> digests{};
    std::size_t count = 0;  // of digests that are in use
    std::size_t next = 0;   // where the next one is stored
    std::uint64_t generation = 0;
};

}  // namespace Token
