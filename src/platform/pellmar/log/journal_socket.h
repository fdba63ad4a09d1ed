// Sends records to the systemd journal by its native protocol: one datagram a record, holding lines
// FIELD=VALUE, or none and the descriptor of a sealed memfd with them when they are too many for a
// datagram (systemd.io/JOURNAL_NATIVE_PROTOCOL).
#pragma once

#include "platform/sys/owned_fd.h"

#include <string>
#include <string_view>

namespace Pellmar::Service {

inline constexpr const char* kJournalSocketPath = "/run/systemd/journal/socket";

// Immutable after construction.
class JournalSocket {
  public:
    enum class Outcome {
        Sent,
        Full,        // the journal has more to read than the kernel keeps for it
        Unavailable  // nobody is there, or the record cannot be handed over
    };

    // Sends to what is bound at `path` at that moment, so that it may come and go.
    explicit JournalSocket(std::string path);

    // Never waits.
    Outcome Send(std::string_view record) const;

  private:
    Outcome SendAsFile(std::string_view record) const;

    const std::string path;
    Sys::OwnedFd socket;
};

}  // namespace Pellmar::Service
