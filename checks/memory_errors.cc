#include "checks/memory_errors.h"

#include "checks/host_files.h"
#include "platform/sys/atomic_file.h"
#include "platform/sys/owned_fd.h"
#include "platform/sys/read_file.h"

#include <cstdint>
#include <optional>
#include <string_view>
#include <system_error>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Checks {

namespace {

using SentrelCheck::Bad;
using SentrelCheck::Limits;
using SentrelCheck::Report;
using SentrelCheck::Settings;
using SentrelCheck::Status;

constexpr Limits kIncrease{1, std::nullopt};  // in an hour
constexpr long long kHour = 3600;
constexpr std::size_t kMaxHistoryBytes = 64 * 1024;
constexpr mode_t kHistoryMode = 0600;

using Count = std::optional<std::uint64_t>;  // nothing if the host does not count it

void Add(Count& sum, const Count& part) {
    if (part) {
        sum = sum.value_or(0) + *part;
    }
}

Count SumOfControllers(const std::string& directory, const char* file, Report& report) {
    Count sum;
    for (const std::string& name : ListDirectory(directory)) {
        if (name.starts_with("mc")) {
            Add(sum, ReadNumber(directory + "/" + name + "/" + file, report));
        }
    }
    return sum;
}

// The sum of the numbers on the line that begins with `name`.
Count SumOfLine(const std::string& path, std::string_view name) {
    Count sum;
    (void)ForEachLine(path, [&](std::string_view line) {
        const std::vector<std::string_view> fields = SplitFields(line);
        if (fields.empty() || fields.front() != name) {
            return true;
        }
        for (const std::string_view field : fields) {
            Add(sum, ParseNumber(field));  // the last columns of interrupts are words
        }
        return false;
    });  // without the file nothing is counted
    return sum;
}

struct Sample {
    long long time = 0;
    std::uint64_t sum = 0;
};

// The file holds the id of the boot, then a line "TIME SUM" for each run within the last hour and
// the last one before.
struct History {
    std::string boot;
    std::vector<Sample> samples;
};

// Reads the samples kept at `path`; returns none if the file is missing or belongs to another user.
History ReadHistory(const std::string& path) {
    const Sys::OwnedFd file(
        ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY));
    struct stat status{};
    std::string text;
    History history;
    if (!file.IsOpen() || ::fstat(file.Get(), &status) != 0 || !S_ISREG(status.st_mode) ||
        status.st_uid != ::geteuid() || Sys::ReadAll(file.Get(), kMaxHistoryBytes, text) != 0) {
        return history;
    }
    std::string_view rest(text);
    history.boot = rest.substr(0, rest.find('\n'));
    for (std::size_t end = rest.find('\n'); end != std::string_view::npos; end = rest.find('\n')) {
        rest.remove_prefix(end + 1);
        const std::vector<std::string_view> fields = SplitFields(rest.substr(0, rest.find('\n')));
        const Count time = fields.size() == 2 ? ParseNumber(fields[0]) : std::nullopt;
        const Count sum = fields.size() == 2 ? ParseNumber(fields[1]) : std::nullopt;
        if (time && sum) {
            history.samples.push_back({static_cast<long long>(*time), *sum});
        }
    }
    return history;
}

// If the file cannot be written, the next run judges the counts since boot.
void KeepHistory(const std::string& path, const History& history) {
    std::string text = history.boot + "\n";
    for (const Sample& sample : history.samples) {
        text += std::to_string(sample.time) + " " + std::to_string(sample.sum) + "\n";
    }
    try {
        Sys::ReplaceFile(path, text, kHistoryMode);
    } catch (const std::system_error&) {
        (void)::unlink(path.c_str());  // otherwise the next run would use old samples
    }
}

// By how much `sum` has risen since the newest sample that is an hour old, or the oldest one.
std::uint64_t IncreaseOf(History& history, long long now, std::uint64_t sum) {
    std::uint64_t base = 0;
    std::vector<Sample> kept;
    for (const Sample& sample : history.samples) {
        if (sample.time > now || sample.sum > sum) {
            continue;  // the clock was set back, or a driver was loaded anew
        }
        if (sample.time <= now - kHour) {
            kept.clear();
        }
        kept.push_back(sample);
    }
    if (!kept.empty()) {
        base = kept.front().sum;
    }
    kept.push_back({now, sum});
    history.samples = std::move(kept);
    return sum - base;
}

}  // namespace

void CheckMemoryErrors(const std::string& root, const std::string& historyPath, long long now,
                       Settings& settings, Report& report) {
    const Limits increase = settings.GetLimits("increase", kIncrease, Bad::High);
    settings.RefuseUnknown();

    const std::string edac = root + "/sys/devices/system/edac/mc";
    Count sum;
    const auto count = [&](const char* name, const Count& value) {
        if (value) {
            report.AddMetric({name, static_cast<double>(*value), ""});
            Add(sum, value);
        }
    };
    count("corrected_errors", SumOfControllers(edac, "ce_count", report));
    count("uncorrected_errors", SumOfControllers(edac, "ue_count", report));
    count("machine_checks", SumOfLine(root + "/proc/interrupts", "MCE:"));
    count("out_of_memory_kills", SumOfLine(root + "/proc/vmstat", "oom_kill"));
    if (!sum) {
        report.Find(Status::None, "this host counts no memory errors");
        return;
    }
    const std::string boot =
        ReadSmallFile(root + "/proc/sys/kernel/random/boot_id").value_or("unknown");
    History history = ReadHistory(historyPath);
    if (history.boot != boot) {
        history = {boot, {}};
    }
    const bool hasHistory = !history.samples.empty();
    const auto risen = static_cast<double>(IncreaseOf(history, now, *sum));
    KeepHistory(historyPath, history);
    report.Judge(hasHistory ? "memory errors and out-of-memory kills within the last hour:"
                            : "memory errors and out-of-memory kills since boot:",
                 {"increase", risen, "", increase}, Bad::High);
    report.Summarize("no memory errors or out-of-memory kills within the last hour, " +
                     std::to_string(*sum) + " since boot");
}

}  // namespace Checks
