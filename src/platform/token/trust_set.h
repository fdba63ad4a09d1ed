// The trust set: the file with the public keys that verify tokens, a JWK Set (RFC 7517 section 5).
// It is read again whenever it has changed. The verifier chooses a key and verifies with it.
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
// Limits the cost of a token without a key id, which is tried with each key.
inline constexpr std::size_t kMaxTrustedKeys = 16;

struct TrustedKeys {
    std::vector<PublicKey> keys;
    std::vector<std::string> unused;  // for each other key of the set: which one, and why
};

// Parses the text of a JWK Set. Throws Pellmar::Exception, whose text does not name the file, if it
// is not one or contains more than kMaxTrustedKeys keys.
TrustedKeys ParseTrustSet(std::string_view text);

// The bytes of the file at the host path `path`; nothing if it does not exist. Throws
// Pellmar::IOException, whose text does not name the file, if it is too long, not a regular file,
// or cannot be read.
std::optional<std::string> ReadTrustSet(const std::string& path);

// One thread at a time.
class TrustSet {
  public:
    // `path` is a host path. Reads nothing yet.
    TrustSet(std::string path, Pellmar::Ref<Pellmar::Service::Logger> logger);

    // The keys in the file now: reads it if its inode, size or times differ from the previous call.
    // A missing, unreadable or malformed file has no keys; each read logs that at level 3, as well
    // as every key that is not used. Never fails. The result is valid until the next call.
    const std::vector<PublicKey>& Keys();
    // Changes with each read.
    std::uint64_t Generation() const { return generation; }

  private:
    // Detects a changed file.
    struct Stamp {
        int errorNumber = 0;  // of stat itself; the rest is then 0
        std::uint64_t device = 0;
        std::uint64_t inode = 0;
        std::int64_t size = 0;
        std::int64_t modified = 0;  // nanoseconds since 1970
        std::int64_t changed = 0;   // the same, also for changes of mode and name
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
