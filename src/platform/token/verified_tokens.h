// Remembers tokens with a valid signature, so that a client that keeps calling with one token costs
// one check of its form and signature, the most expensive part of a small call. Its claims,
// especially the times, are checked at each call.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace Token {

inline constexpr std::size_t kMaxVerifiedTokens = 32;

// Keeps digests and payloads, not tokens. One thread at a time.
class VerifiedTokens {
  public:
    VerifiedTokens();
    ~VerifiedTokens();

    // The payload of the token if it was added under this generation of the trusted keys, else
    // null. Valid until the next call.
    const nlohmann::json* Find(std::string_view token, std::uint64_t keyGeneration);
    // Adds the token in place of the oldest one. Forgets those of another generation.
    void Add(std::string_view token, std::uint64_t keyGeneration, nlohmann::json payload);

  private:
    using Digest = std::array<unsigned char, 32>;  // SHA-256
    struct Entry;

    static bool DigestOf(std::string_view token, Digest& digest);
    void ForgetUnless(std::uint64_t wanted);

    std::vector<Entry> entries;  // at most kMaxVerifiedTokens
    std::size_t oldest = 0;      // of a full list
    std::uint64_t generation = 0;
};

}  // namespace Token
