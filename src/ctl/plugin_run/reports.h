// Finds the reports of a run among those that the daemon has stored, and checks them.
#pragma once

#include "ctl/plugin_run/intake.h"
#include "ctl/reports/metrics.h"

#include <chrono>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <sys/types.h>

namespace Ctl {

// The stored reports of a report directory before a run, to distinguish those that the run adds.
class StoredReports {
  public:
    // Records the present files. `directory` ends in "/". Throws std::system_error if it cannot be
    // listed.
    explicit StoredReports(std::string directory);

    // The reports stored since, in the order of arrival; at most the three newest of each name.
    // Other clients may have posted them. Throws std::system_error.
    std::vector<Post> FindNew() const;

  private:
    using Time = std::filesystem::file_time_type;
    using Version = std::pair<Time, ino_t>;
    static std::map<std::string, Version> List(const std::string& directory);

    const std::string directory;
    const std::map<std::string, Version> before;  // by file name
};

// The posts that the daemon has refused since then, without their documents and including those of
// other clients; none if its state file cannot be read.
std::vector<Post> FindRefused(std::chrono::system_clock::time_point since);

struct PostJudgement {
    Post post;
    bool isOfPlugin = false;  // its name is the plugin's, or the plugin's, "." and a suffix
    std::vector<std::string> problems;        // of the document; and why it was refused
    std::string state;                        // "OK", ...; empty if the report has none
    std::optional<std::chrono::seconds> age;  // by its time; unset if that is invalid
    std::string reason;
    std::vector<Metric> metrics;

    // Accepted, valid, and under a name that belongs to the plugin.
    bool IsGood() const { return isOfPlugin && problems.empty(); }
};

PostJudgement JudgePost(Post post, const std::string& plugin);

}  // namespace Ctl
