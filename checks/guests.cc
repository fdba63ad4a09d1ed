#include "checks/guests.h"

#include "checks/host_files.h"
#include "checks/pressure.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace Checks {

namespace {

using SentrelCheck::Bad;
using SentrelCheck::Limits;
using SentrelCheck::Report;
using SentrelCheck::Settings;
using SentrelCheck::Status;
using SentrelCheck::ToWords;

constexpr Limits kPromised{100, std::nullopt};
constexpr Limits kSteal{10, 30};
constexpr Limits kCpuPressure{60, 90};
constexpr Limits kMemoryPressure{10, 40};
constexpr Limits kKilled{1, std::nullopt};

constexpr std::uint64_t kMiB = 1024 * 1024;
constexpr std::uint64_t kDefaultMiB = 128;  // for a machine without "-m"
constexpr double kMiBPerGiB = 1024;

struct Guest {
    std::string directory;  // /proc/PID
    std::uint64_t promisedMiB = 0;
};

std::vector<std::string_view> SplitArguments(std::string_view commandLine) {
    std::vector<std::string_view> arguments;
    while (!commandLine.empty()) {
        const std::size_t end = std::min(commandLine.find('\0'), commandLine.size());
        arguments.push_back(commandLine.substr(0, end));
        commandLine.remove_prefix(std::min(end + 1, commandLine.size()));
    }
    return arguments;
}

// "4096", "4G", "size=4194304k,slots=16": MiB if no unit follows.
std::uint64_t ParseMemory(std::string_view text) {
    text = text.substr(0, text.find(','));
    if (text.starts_with("size=")) {
        text.remove_prefix(5);
    }
    const std::size_t end = std::min(text.find_first_not_of("0123456789"), text.size());
    const std::uint64_t number = ParseNumber(text.substr(0, end)).value_or(0);
    switch (end < text.size() ? text[end] | ' ' : 'm') {
        case 'k':
            return number / 1024;
        case 'g':
            return number * 1024;
        case 't':
            return number * kMiB;
        default:
            return number;
    }
}

// Reads a process of the emulator, recognised by its program's name; nothing for other programs.
std::optional<Guest> ReadGuest(const std::string& directory) {
    const std::string text = ReadSmallFile(directory + "/cmdline").value_or("");
    const std::vector<std::string_view> arguments = SplitArguments(text);
    if (arguments.empty()) {
        return std::nullopt;
    }
    const std::string_view program = arguments[0].substr(arguments[0].rfind('/') + 1);
    if (!program.starts_with("qemu-system-") && program != "qemu-kvm" && program != "kvm") {
        return std::nullopt;
    }
    Guest guest{directory, kDefaultMiB};
    for (std::size_t index = 1; index + 1 < arguments.size(); ++index) {
        if (arguments[index] == "-m") {
            guest.promisedMiB = ParseMemory(arguments[index + 1]);
        }
    }
    return guest;
}

std::vector<Guest> ListGuests(const std::string& root) {
    std::vector<Guest> guests;
    for (const std::string& name : ListDirectory(root + "/proc")) {
        if (ParseNumber(name)) {
            if (std::optional<Guest> guest = ReadGuest(root + "/proc/" + name)) {
                guests.push_back(*std::move(guest));
            }
        }
    }
    return guests;
}

// The nanoseconds for which all threads of virtual processors ran, and for which they were runnable
// but waited.
struct Turns {
    double run = 0;
    double wait = 0;
};

Turns ReadTurns(const std::vector<Guest>& guests) {
    Turns turns;
    for (const Guest& guest : guests) {
        const std::string tasks = guest.directory + "/task";
        for (const std::string& task : ListDirectory(tasks)) {
            const std::string name = ReadSmallFile(tasks + "/" + task + "/comm").value_or("");
            const std::string text = ReadSmallFile(tasks + "/" + task + "/schedstat").value_or("");
            const std::vector<std::string_view> fields = SplitFields(text);
            if (name.starts_with("CPU ") && fields.size() == 3) {
                turns.run += static_cast<double>(ParseNumber(fields[0]).value_or(0));
                turns.wait += static_cast<double>(ParseNumber(fields[1]).value_or(0));
            }
        }
    }
    return turns;
}

void JudgeSteal(const Turns& before, const Turns& after, const Limits& limits, Report& report) {
    const double run = std::max(after.run - before.run, 0.0);  // a guest may have ended meanwhile
    const double wait = std::max(after.wait - before.wait, 0.0);
    report.Judge("time for which virtual processors waited for a physical one:",
                 {"steal", Percent(wait, run + wait), "%", limits}, Bad::High);
}

std::uint64_t ReadMemoryMiB(const std::string& root) {
    std::uint64_t kiB = 0;
    (void)ForEachLine(root + "/proc/meminfo", [&kiB](std::string_view line) {
        const std::vector<std::string_view> fields = SplitFields(line);
        const bool isTotal = fields.size() > 1 && fields[0] == "MemTotal:";
        kiB = isTotal ? ParseNumber(fields[1]).value_or(0) : kiB;
        return !isTotal;
    });  // without the file nothing is compared
    return kiB / 1024;
}

void JudgeMemory(const std::string& root, const std::vector<Guest>& guests, const Limits& limits,
                 Report& report) {
    double promised = 0;
    for (const Guest& guest : guests) {
        promised += static_cast<double>(guest.promisedMiB);
    }
    const auto present = static_cast<double>(ReadMemoryMiB(root));
    report.AddMetric({"promised_size", promised, "MiB"});
    if (present > 0) {
        report.Judge("memory promised to virtual machines:",
                     {"promised", Percent(promised, present), "%", limits}, Bad::High);
    }
    report.Summarize(ToWords(promised / kMiBPerGiB) + " GiB of memory promised");
}

// The slices in which service managers run virtual machines.
void JudgeSlices(const std::string& root, const Limits& cpuLimits, const Limits& memoryLimits,
                 const Limits& killedLimits, Report& report) {
    for (const std::string slice : {"machine.slice", "qemu.slice"}) {
        const std::string directory = root + "/sys/fs/cgroup/" + slice;
        if (const auto cpu = ReadPressure(directory + "/cpu.pressure", Share::Some, report)) {
            JudgePressure("processor pressure of " + slice, "cpu_pressure:" + slice, *cpu,
                          cpuLimits, report);
        }
        if (const auto memory = ReadPressure(directory + "/memory.pressure", Share::Some, report)) {
            JudgePressure("memory pressure of " + slice, "memory_pressure:" + slice, *memory,
                          memoryLimits, report);
        }
        (void)ForEachLine(directory + "/memory.events", [&](std::string_view line) {
            const std::vector<std::string_view> fields = SplitFields(line);
            if (fields.size() == 2 && fields[0] == "oom_kill") {
                report.Judge(
                    "processes of " + slice + " killed for lack of memory since boot:",
                    {"killed:" + slice, static_cast<double>(ParseNumber(fields[1]).value_or(0)), "",
                     killedLimits},
                    Bad::High);
            }
            return true;
        });  // a host without such guests has no such file
    }
}

}  // namespace

void CheckGuests(const std::string& root, const std::function<void()>& pause, Settings& settings,
                 Report& report) {
    const Limits promised = settings.GetLimits("promised", kPromised, Bad::High);
    const Limits steal = settings.GetLimits("steal", kSteal, Bad::High);
    const Limits cpu = settings.GetLimits("cpu_pressure", kCpuPressure, Bad::High);
    const Limits memory = settings.GetLimits("memory_pressure", kMemoryPressure, Bad::High);
    const Limits killed = settings.GetLimits("killed", kKilled, Bad::High);
    settings.RefuseUnknown();

    const std::vector<Guest> guests = ListGuests(root);
    report.AddMetric({"guests", static_cast<double>(guests.size()), ""});
    JudgeSlices(root, cpu, memory, killed, report);
    if (guests.empty()) {
        if (report.GetStatus() == Status::Ok) {
            report.Find(Status::None, "no virtual machines run on this host");
        }
        return;
    }
    report.Summarize(std::to_string(guests.size()) +
                     (guests.size() == 1 ? " virtual machine" : " virtual machines"));
    JudgeMemory(root, guests, promised, report);
    const Turns before = ReadTurns(guests);
    pause();
    JudgeSteal(before, ReadTurns(guests), steal, report);
}

}  // namespace Checks
