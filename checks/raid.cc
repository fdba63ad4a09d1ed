#include "checks/raid.h"

#include "checks/host_files.h"

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace Checks {

namespace {

using SentrelCheck::MatchesAny;
using SentrelCheck::Report;
using SentrelCheck::Settings;
using SentrelCheck::Status;
using SentrelCheck::ToWords;

struct Array {
    std::string name;       // "md0"
    std::string directory;  // of its files, /sys/block/md0/md
};

std::string Word(const Array& array, const char* file) {
    return ReadSmallFile(array.directory + "/" + file).value_or("");
}

// The disks that the kernel has expelled, as "sdb1, sdc1".
std::string FaultyDisks(const Array& array) {
    std::string names;
    for (const std::string& entry : ListDirectory(array.directory)) {
        const std::string state =
            ReadSmallFile(array.directory + "/" + entry + "/state").value_or("");
        if (entry.starts_with("dev-") && state.find("faulty") != std::string::npos) {
            names += (names.empty() ? "" : ", ") + entry.substr(4);
        }
    }
    return names;
}

// "1234 / 5678" sectors, as a percentage; nothing for "none", when no action is running.
std::optional<double> ReadProgress(const Array& array, Report& report) {
    const std::string text = Word(array, "sync_completed");
    const std::vector<std::string_view> fields = SplitFields(text);
    if (text.empty() || text == "none" || text == "delayed") {
        return std::nullopt;
    }
    const auto done = ParseNumber(fields.front());
    const auto whole =
        fields.size() == 3 && fields[1] == "/" ? ParseNumber(fields[2]) : std::nullopt;
    if (!done || !whole) {
        FindGarbled(array.directory + "/sync_completed", report);
        return std::nullopt;
    }
    return Percent(static_cast<double>(*done), static_cast<double>(*whole));
}

// The word for a sync_action in a reason; empty for an action that is unrelated to the array's
// health, such as the monthly "check".
std::string ActionText(const std::string& action) {
    if (action == "recover") {
        return "rebuilding";
    }
    if (action == "resync" || action == "repair") {
        return "resyncing";
    }
    return action == "reshape" ? "reshaping" : "";
}

void JudgeArray(const Array& array, Report& report) {
    const std::string state = Word(array, "array_state");
    if (state == "inactive" || state == "clear" || state == "broken" || state == "suspended") {
        report.Find(Status::Error, array.name + " is " + state + " and cannot be used");
        return;
    }
    const std::optional<double> progress = ReadProgress(array, report);
    const std::string action = progress ? ActionText(Word(array, "sync_action")) : "";
    const std::string running =
        action.empty() ? "" : ", " + action + " (" + ToWords(*progress) + " %)";
    if (progress) {
        report.AddMetric({"sync:" + array.name, *progress, "%"});
    }
    const auto missing = ReadNumber(array.directory + "/degraded", report);
    const auto disks = ReadNumber(array.directory + "/raid_disks", report);
    if (missing && disks) {
        const double left = static_cast<double>(*disks) - static_cast<double>(*missing);
        report.AddMetric({"disks:" + array.name, left, "", {{}, static_cast<double>(*disks)}});
        if (*missing > 0) {
            const std::string faulty = FaultyDisks(array);
            report.Find(action == "rebuilding" ? Status::Warning : Status::Error,
                        array.name + " is degraded: " + ToWords(left) + " of " +
                            std::to_string(*disks) + " disks" +
                            (faulty.empty() ? "" : ", failed: " + faulty) + running);
            return;
        }
    }
    if (!action.empty()) {
        report.Find(Status::Warning, array.name + " is" + running.substr(1));
    }
}

// The states of zpool(8). A pool becomes OFFLINE only when an administrator takes it offline.
Status StatusOfPool(const std::string& state) {
    if (state == "ONLINE") {
        return Status::Ok;
    }
    if (state == "OFFLINE") {
        return Status::Warning;
    }
    const bool isKnown = state == "DEGRADED" || state == "FAULTED" || state == "SUSPENDED" ||
                         state == "UNAVAIL" || state == "REMOVED";
    return isKnown ? Status::Error : Status::Unknown;
}

}  // namespace

void CheckRaid(const std::string& root, Settings& settings, Report& report) {
    const std::vector<std::string> ignored = settings.GetList("ignore");
    settings.RefuseUnknown();

    int count = 0;
    for (const std::string& name : ListDirectory(root + "/sys/block")) {
        const Array array{name, root + "/sys/block/" + name + "/md"};
        if (Exists(array.directory) && !MatchesAny(ignored, name)) {
            ++count;
            JudgeArray(array, report);
        }
    }
    for (const std::string& name : ListDirectory(root + "/proc/spl/kstat/zfs")) {
        const std::optional<std::string> state =
            ReadSmallFile(root + "/proc/spl/kstat/zfs/" + name + "/state");
        if (state && !MatchesAny(ignored, name)) {
            ++count;
            if (const Status status = StatusOfPool(*state); status != Status::Ok) {
                report.Find(status, "the pool " + name + " is " + *state);
            }
        }
    }
    if (count == 0) {
        report.Find(Status::None, "this host has no disk arrays");
    }
    report.AddMetric({"arrays", static_cast<double>(count), ""});
    report.Summarize(std::to_string(count) + (count == 1 ? " array" : " arrays") +
                     ", none degraded");
}

}  // namespace Checks
