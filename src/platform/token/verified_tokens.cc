#include "platform/token/verified_tokens.h"

#include <openssl/evp.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <utility>

namespace Token {

struct VerifiedTokens::Entry {
    Digest digest;
    nlohmann::json payload;
};

VerifiedTokens::VerifiedTokens() = default;
VerifiedTokens::~VerifiedTokens() = default;

const nlohmann::json* VerifiedTokens::Find(std::string_view token, std::uint64_t keyGeneration) {
    ForgetUnless(keyGeneration);
    Digest digest;
    if (entries.empty() || !DigestOf(token, digest)) {
        return nullptr;
    }
    const auto found = std::find_if(entries.begin(), entries.end(), [&digest](const Entry& entry) {
        return entry.digest == digest;
    });
    return found == entries.end() ? nullptr : &found->payload;
}

void VerifiedTokens::Add(std::string_view token, std::uint64_t keyGeneration,
                         nlohmann::json payload) {
    ForgetUnless(keyGeneration);
    Entry entry;
    if (!DigestOf(token, entry.digest)) {
        return;
    }
    entry.payload = std::move(payload);
    if (entries.size() < kMaxVerifiedTokens) {
        entries.push_back(std::move(entry));
    } else {
        entries[oldest] = std::move(entry);
        oldest = (oldest + 1) % kMaxVerifiedTokens;
    }
}

// Returns false when memory is exhausted: the token then counts as unknown and is checked in full.
bool VerifiedTokens::DigestOf(std::string_view token, Digest& digest) {
    return EVP_Digest(token.data(), token.size(), digest.data(), nullptr, EVP_sha256(), nullptr) ==
           1;
}

void VerifiedTokens::ForgetUnless(std::uint64_t wanted) {
    if (generation != wanted) {
        generation = wanted;
        entries.clear();
        oldest = 0;
    }
}

}  // namespace Token
