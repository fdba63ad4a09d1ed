// Which tokens were found to be signed well, so that a client that calls with one token over and
// over costs one signature check, the dearest part of a small call. Everything else about a token,
// its times above all, is checked at each call.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace Token {

inline constexpr std::size_t kMaxVerifiedTokens = 32;

// Keeps digests, no tokens. One thread at a time.
class VerifiedTokens {
  public:
    // Whether these bytes were remembered under that generation of the trusted keys.
    bool Has(std::string_view token, std::uint64_t keyGeneration);
    // Remembers them instead of the one remembered longest ago. Those of another generation are
    // forgotten.
    void Add(std::string_view token, std::uint64_t keyGeneration);

  private:
    using Digest = std::array<unsigned char, 32>;  // SHA-256

    static bool DigestOf(std::string_view token, Digest& digest);
    void ForgetUnless(std::uint64_t wanted);

    std::array<Digest, kMaxVerifiedTokens> digests{};
    std::size_t count = 0;  // of digests that are in use
    std::size_t next = 0;   // where the next one goes
    std::uint64_t generation = 0;
};

}  // namespace Token
