// "doctor": the plugins' resource group.
#include "ctl/doctor/subjects.h"
#include "ctl/group/location.h"
#include "ctl/group/survivors.h"
#include "ctl/host/daemon_settings.h"
#include "ctl/show/sizes.h"
#include "ctl/show/words.h"
#include "platform/kernel/groups/cgroup_directory.h"
#include "platform/kernel/groups/groups.h"
#include "platform/pellmar/exceptions.h"
#include "plugins/resource_group.h"

#include <algorithm>

#include <unistd.h>

namespace Ctl {

namespace {

using Kind = Kernel::GroupRoot::Kind;

constexpr const char* kSubject = "group";
constexpr const char* kEnsure = "sentrelctl group ensure";

void CheckReservation(const std::string& root, const Kernel::GroupState& state,
                      std::uint64_t configuredKB, Findings& findings) {
    Kernel::CgroupDirectory above;
    if (Kernel::CgroupDirectory::Open(root, above) == 0 && !above.OffersMemory()) {
        findings.push_back(
            {Severity::Notice, kSubject,
             "nothing is reserved for plugins: " + root + " has no memory controller",
             "if another hierarchy has it, start the host with "
             "systemd.unified_cgroup_hierarchy=1"});
    } else if (state.reservationKB < configuredKB) {
        findings.push_back({Severity::Warning, kSubject,
                            SizeText(state.reservationKB * 1024) + " are reserved of the " +
                                SizeText(configuredKB * 1024) + " of the settings",
                            kEnsure});
    }
    if (state.memory.peak > configuredKB) {
        findings.push_back({Severity::Notice, kSubject,
                            "plugins have used " + SizeText(state.memory.peak * 1024) +
                                ", more than the " + SizeText(configuredKB * 1024) +
                                " of the settings",
                            "sentrelctl config set sentrel.plugin_resource_pool_size_MB NUMBER"});
    }
}

void CheckLimits(const Kernel::GroupState& state, std::uint64_t configuredKB, Findings& findings) {
    if (state.reservationKB > 0 && state.memoryLimitKB != configuredKB) {
        findings.push_back(
            {Severity::Warning, kSubject,
             "the memory limit of plugins is " +
                 (state.memoryLimitKB == 0 ? "off" : SizeText(state.memoryLimitKB * 1024)) +
                 ", unlike in the settings (" +
                 (configuredKB == 0 ? "off" : SizeText(configuredKB * 1024)) + ")",
             kEnsure});
    }
    const std::uint64_t kills = Kernel::Groups().CountMemoryKills(Sentrel::kPluginGroupPath);
    if (kills > 0) {
        findings.push_back({Severity::Warning, kSubject,
                            "the kernel has killed " + Counted(kills, "process", "processes") +
                                " of plugins for lack of memory",
                            "journalctl -u sentrel -p err names the plugins; make them use less "
                            "memory, or raise sentrel.plugin_memory_limit_MB"});
    }
}

// A daemon in a delegated unit creates its own group.
Finding ExplainMissing(const Host& host, const GroupLocation& location) {
    const std::string directory = location.root.directory + "/" + Sentrel::kPluginGroupPath;
    if (host.daemon || location.root.kind == Kind::Named) {
        return {Severity::Error, kSubject, directory + " is missing: every launch is refused",
                kEnsure};
    }
    return {.severity = Severity::Notice,
            .subject = kSubject,
            .text = "the daemon's unit creates the group when it starts",
            .remedy = "start the daemon; outside of its unit, first: " + std::string(kEnsure),
            .followsFrom = "daemon"};
}

void CheckSurvivors(const Host& host, const std::string& directory, Findings& findings) {
    const std::chrono::seconds longest = LongestRunTime(host.daemon);
    std::vector<std::string> names;
    for (const Member& member : ReadMembers(directory)) {
        if (IsSurvivor(member, longest)) {
            names.push_back(member.process.name + " (" + std::to_string(member.process.pid) + ")");
        }
    }
    if (!names.empty()) {
        findings.push_back({Severity::Warning, kSubject,
                            Counted(names.size(), "process has", "processes have") +
                                " outlived their run: " + Abridged(names),
                            "sentrelctl group kill"});
    }
}

}  // namespace

void CheckGroup(const Host& host, Findings& findings) {
    const GroupLocation location = FindGroupLocation(host.daemon);
    if (!host.daemon && ::geteuid() != 0 && location.root.kind != Kind::Named) {
        throw CannotInspect("cannot see the group of another user's daemon");
    }
    if (location.root.kind == Kind::None) {
        findings.push_back({Severity::Notice, kSubject,
                            "kept in " + OriginOf(location) +
                                ", which reserves and limits nothing: " + location.root.reason,
                            "run sentrel as its unit does"});
        return;
    }
    UseGroupLocation(location);
    Kernel::GroupState state;
    try {
        state = Kernel::ShowGroup(Sentrel::kPluginGroupPath);
    } catch (const Pellmar::NotFoundException&) {
        findings.push_back(ExplainMissing(host, location));
        return;
    }
    Kernel::CgroupDirectory group;
    const std::size_t before = findings.size();
    if (Kernel::CgroupDirectory::Open(state.directory, group) == 0 && group.IsFrozen()) {
        findings.push_back({Severity::Error, kSubject,
                            state.directory + " is frozen: every launch is refused",
                            "echo 0 > " + state.directory +
                                "/cgroup.freeze, or that of the one above it that is frozen"});
    }
    if (host.settingsProblem.empty()) {
        const auto settings = ReadDaemonSettings();
        const std::int32_t poolSizeMB = Sentrel::ConfiguredResourcePoolSizeMB(settings);
        CheckReservation(location.root.directory, state,
                         static_cast<std::uint64_t>(poolSizeMB) * 1024, findings);
        CheckLimits(state,
                    std::uint64_t{Sentrel::PluginGroupLimits(settings, poolSizeMB).memoryMB} * 1024,
                    findings);
    }
    CheckSurvivors(host, state.directory, findings);
    const bool isAllWell =
        std::none_of(findings.begin() + static_cast<std::ptrdiff_t>(before), findings.end(),
                     [](const Finding& finding) { return finding.severity > Severity::Notice; });
    if (isAllWell) {
        findings.push_back({Severity::Good, kSubject,
                            state.directory + " (" + OriginOf(location) + "); peak " +
                                SizeText(state.memory.peak * 1024),
                            ""});
    }
}

}  // namespace Ctl
