#include "platform/token/verified_tokens.h"

#include <openssl/evp.h>

#include <algorithm>

namespace Token {

bool VerifiedTokens::Has(std::string_view token, std::uint64_t keyGeneration) {
    ForgetUnless(keyGeneration);
    Digest digest;
    return DigestOf(token, digest) &&
           std::find(digests.begin(), digests.begin() + count, digest) != digests.begin() + count;
}

void VerifiedTokens::Add(std::string_view token, std::uint64_t keyGeneration) {
    ForgetUnless(keyGeneration);
    if (DigestOf(token, digests[next])) {
        next = (next + 1) % kMaxVerifiedTokens;
        count = std::min(count + 1, kMaxVerifiedTokens);
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
        count = 0;
        next = 0;
    }
}

}  // namespace Token
