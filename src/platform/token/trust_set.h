// The trust set: the file with the public keys that tokens are verified with, a JWK Set (RFC 7517,
// section 5). It is a key file, so it is read again when it has changed. Choosing a key and
// verifying with it is the verifier's business.
#pragma once

#include "platform/pellmar/log/logger.h"
#include "platform/pellmar/object.h"
#include "platform/token/public_key.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct stat;

namespace Token {

inline constexpr std::size_t kMaxTrustSetBytes = 1024 * 1024;
// A token without a key id is tried with each of them.
inline constexpr std::size_t kMaxTrustedKeys = 16;

struct TrustedKeys {
    std::vector<PublicKey> keys;
    std::vector<std::string> unused;  // for each other key of the set: which, and why not
};

// Reads the text of a JWK Set. Throws Pellmar::Exception, in words without the file's name, when it
// is none, or holds more than kMaxTrustedKeys keys.
TrustedKeys ParseTrustSet(std::string_view text);

// The bytes of the file at `path` (a host path); nothing when there is none. Throws
// Pellmar::IOException, in words without the file's name, when it is too long, no regular file, or
// cannot be read.
std::optional<std::string> ReadTrustSet(const std::string& path);

// One thread at a time.
class TrustSet {
  public:
    // `path` is a host path. Nothing is read yet.
    TrustSet(std::string path, Pellmar::Ref<Pellmar::Service::Logger> logger);

    // The keys of the file as it is now: it is read when its inode, size or times are not those of
    // the last look. A missing, unreadable or malformed file has no keys, which a level-3 line says
    // at each reading, as it names each key that is not used. Never fails. Valid until the next
    // call.
    const std::vector<PublicKey>& Keys();
    // Another number after each reading.
    std::uint64_t Generation() const { return generation; }

  private:
    // By what a changed file is told.
    struct Stamp {
        int errorNumber = 0;  // of the look itself; the rest is 0 then
        std::uint64_t device = 0;
        std::uint64_t inode = 0;
        std::int64_t size = 0;
        std::int64_t modified = 0;  // nanoseconds since 1970
        std::int64_t changed = 0;   // the same, of modes and names too
        bool operator==(const Stamp&) const = default;
    };

    static Stamp StampOf(const std::string& rootedPath);
    void Read();
    TrustedKeys Load() const;

    const std::string path;
    const Pellmar::Ref<Pellmar::Service::Logger> logger;
    std::optional<Stamp> lastStamp;
    std::vector<PublicKey> keys;
    std::uint64_t generation = 0;
};

}  // namespace Token
