// What a run has reported: where it is found when a daemon has stored it, and whether it is good.
#pragma once

#include "ctl/plugin_run/intake.h"
#include "ctl/reports/metrics.h"

#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <sys/types.h>

namespace Ctl {

// The stored reports of a report directory, so that those which a run adds can be told from the
// others.
class StoredReports {
  public:
    // Notes what is there now. `directory` ends in "/". Throws std::system_error when it cannot be
    // listed.
    explicit StoredReports(std::string directory);

    // What has been stored since, in the order of its arrival; of each name at most the three
    // newest. Others than the run may have posted it. Throws std::system_error.
    std::vector<Post> FindNew() const;

  private:
    using Time = std::filesystem::file_time_type;
    using Version = std::pair<Time, ino_t>;
    static std::map<std::string, Version> List(const std::string& directory);

    const std::string directory;
    const std::map<std::string, Version> before;  // by file name
};

struct PostJudgement {
    Post post;
    bool isOfPlugin = false;            // it is called like the plugin, or like it and "." and more
    std::vector<std::string> problems;  // of the document; and why it was not taken in
    std::string state;                  // "OK", ...; empty when it does not say
    std::string reason;
    std::vector<Metric> metrics;

    // Taken in, without fault, and under a name by which the plugin's reports are found.
    bool IsGood() const { return isOfPlugin && problems.empty(); }
};

PostJudgement JudgePost(Post post, const std::string& plugin);

}  // namespace Ctl
