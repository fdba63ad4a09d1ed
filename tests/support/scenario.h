// What tests of the whole daemon share: a host of its own, and the daemon started on it, in a
// network namespace of the test program, so that ports are those of a real host.
#pragma once

#include "support/daemon_process.h"
#include "support/host_directory.h"
#include "support/sanitizers.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Test {

inline constexpr char kMetadataPath[] = "/usr/lib/korvex/quon/observability_quon_metadata.json";

class Scenario : public testing::Test {
  protected:
    static void SetUpTestSuite();
    // A host with the API's metadata file, without which no daemon starts.
    Scenario();

    // The daemon with `-r` and the report directory, all of its log, and the host as its root.
    DaemonOptions Options() const;
    // Starts the daemon (the one before is killed) and waits until it serves. Throws when it does
    // not.
    DaemonProcess& Start(const DaemonOptions& options);
    DaemonProcess& Start() { return Start(Options()); }

    // The lines of the log from line `first` on that begin with `prefix`, such as "3
    // SentrelHandler".
    std::vector<std::string> LogFrom(std::size_t first, std::string_view prefix) const;

    HostDirectory host;
    std::optional<DaemonProcess> daemon;
};

}  // namespace Test
