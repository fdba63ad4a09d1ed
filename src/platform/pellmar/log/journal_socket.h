// Sends records to the systemd journal by its native protocol: one datagram for each record,
// containing lines FIELD=VALUE or, for a record too long for a datagram, only the descriptor of a
// sealed memfd with those lines (systemd.io/JOURNAL_NATIVE_PROTOCOL).
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
        Full,        // the socket's receive buffer is full
        Unavailable  // the journal is not running, or the record cannot be passed to it
    };

    // Each record goes to the socket bound at `path` at that moment, so the journal may restart.
    explicit JournalSocket(std::string path);

    // Never waits.
    Outcome Send(std::string_view record) const;

  private:
    Outcome SendAsFile(std::string_view record) const;

    const std::string path;
    Sys::OwnedFd socket;
};

}  // namespace Pellmar::Service
