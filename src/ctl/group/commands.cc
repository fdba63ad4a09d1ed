#include "ctl/group/commands.h"

#include "ctl/group/kill_command.h"
#include "ctl/group/location.h"
#include "ctl/host/daemon_settings.h"
#include "ctl/show/failure.h"
#include "ctl/show/json_output.h"
#include "ctl/show/sizes.h"
#include "ctl/show/table.h"
#include "platform/kernel/groups/cgroup_directory.h"
#include "platform/kernel/groups/groups.h"
#include "plugins/resource_group.h"

#include <nlohmann/json.hpp>

#include <array>
#include <cstdint>
#include <ostream>

#include <unistd.h>

namespace Ctl {

namespace {

using Json = nlohmann::ordered_json;

constexpr std::array<Option, 1> kOptions = {{kJsonOption}};

struct Ensured {
    GroupLocation location;
    bool isNew = false;
    std::int32_t poolSizeMB = 0;
    std::string problem;       // why nothing is reserved; empty if memory is reserved
    std::string limitProblem;  // why a limit is not in force; empty if both are
    Kernel::GroupState state;
};

std::string LimitsText(const Kernel::GroupState& state) {
    const std::string memory =
        state.memoryLimitKB == 0 ? "no limit of memory" : SizeText(state.memoryLimitKB * 1024);
    return memory + ", " +
           (state.processLimit == 0 ? "no limit of processes"
                                    : std::to_string(state.processLimit) + " processes");
}

void WriteEnsured(const Ensured& ensured, std::ostream& output) {
    const std::string size = SizeText(std::uintmax_t(ensured.poolSizeMB) << 20);
    Table facts({{}, {}});
    facts.Add({ensured.isNew ? "Made" : "Was there", Sentrel::kPluginGroupPath});
    facts.Add({"Directory", ensured.state.directory});
    facts.Add({"Found by", OriginOf(ensured.location)});
    facts.Add({"Reserved", ensured.problem.empty()
                               ? size
                               : "nothing of the " + size + " configured: " + ensured.problem});
    facts.Add({"Limits", LimitsText(ensured.state) +
                             (ensured.limitProblem.empty() ? "" : ": " + ensured.limitProblem)});
    facts.Write(output);
}

void WriteEnsuredJson(const Ensured& ensured, std::ostream& output) {
    Json document = {{"path", Sentrel::kPluginGroupPath},
                     {"id", ensured.state.id},
                     {"directory", ensured.state.directory},
                     {"made", ensured.isNew},
                     {"poolSizeMB", ensured.poolSizeMB},
                     {"reservationKB", ensured.state.reservationKB},
                     {"memoryLimitKB", ensured.state.memoryLimitKB},
                     {"processLimit", ensured.state.processLimit}};
    if (!ensured.limitProblem.empty()) {
        document["limitProblem"] = ensured.limitProblem;
    }
    if (!ensured.problem.empty()) {
        document["reservationProblem"] = ensured.problem;
    }
    WriteJson(document, output);
}

void RunEnsure(const Arguments& arguments, std::ostream& output) {
    Ensured ensured;
    ensured.location = FindGroupLocation(FindDaemonIfAny());
    UseGroupLocation(ensured.location);
    ensured.poolSizeMB = Sentrel::ConfiguredResourcePoolSizeMB(ReadDaemonSettings());
    std::int64_t id = 0;
    ensured.isNew = Kernel::Groups().FindId(Sentrel::kPluginGroupPath, id) != 0;
    ensured.problem =
        Kernel::EnsureGroup(Sentrel::kPluginGroupPath, static_cast<unsigned>(ensured.poolSizeMB));
    ensured.limitProblem =
        Kernel::LimitGroup(Sentrel::kPluginGroupPath,
                           Sentrel::PluginGroupLimits(ReadDaemonSettings(), ensured.poolSizeMB));
    ensured.state = Kernel::ShowGroup(Sentrel::kPluginGroupPath);
    if (arguments.options.Has("--json")) {
        WriteEnsuredJson(ensured, output);
    } else {
        WriteEnsured(ensured, output);
    }
}

// Whether the group is frozen, so that launches into it fail.
bool IsFrozen(const Kernel::GroupState& state) {
    Kernel::CgroupDirectory directory;
    return Kernel::CgroupDirectory::Open(state.directory, directory) == 0 && directory.IsFrozen();
}

void WriteState(const GroupLocation& location, const Kernel::GroupState& state,
                std::ostream& output) {
    Table facts({{}, {}});
    facts.Add({"Group", Sentrel::kPluginGroupPath});
    facts.Add({"Id", std::to_string(state.id)});
    facts.Add({"Directory", state.directory});
    facts.Add({"Found by", OriginOf(location)});
    facts.Add(
        {"Frozen", IsFrozen(state) ? "yes: nothing in it runs, every launch is refused" : "no"});
    facts.Add(
        {"Reserved", state.reservationKB == 0 ? "nothing" : SizeText(state.reservationKB * 1024)});
    facts.Add({"Limits", LimitsText(state)});
    facts.Add({"Peak", SizeText(state.memory.peak * 1024)});
    facts.Add({"Peak of member groups", SizeText(state.memory.childrenPeak * 1024)});
    facts.Write(output);
    if (state.processes.empty()) {
        output << "\nNo process is in the group.\n";
        return;
    }
    output << '\n';
    Table processes({{"PID", Table::Align::Right}, {"NAME"}, {"RESIDENT", Table::Align::Right}});
    for (const Kernel::GroupProcess& process : state.processes) {
        processes.Add(
            {std::to_string(process.pid), process.name, SizeText(process.residentKB * 1024)});
    }
    processes.Write(output);
}

void WriteStateJson(const Kernel::GroupState& state, std::ostream& output) {
    Json processes = Json::array();
    for (const Kernel::GroupProcess& process : state.processes) {
        processes.push_back(
            {{"pid", process.pid}, {"name", process.name}, {"residentKB", process.residentKB}});
    }
    WriteJson({{"path", Sentrel::kPluginGroupPath},
               {"id", state.id},
               {"directory", state.directory},
               {"frozen", IsFrozen(state)},
               {"reservationKB", state.reservationKB},
               {"memoryLimitKB", state.memoryLimitKB},
               {"processLimit", state.processLimit},
               {"peakKB", state.memory.peak},
               {"memberGroupsPeakKB", state.memory.childrenPeak},
               {"processes", processes}},
              output);
}

void RunShow(const Arguments& arguments, std::ostream& output) {
    const GroupLocation location = FindGroupLocation(FindDaemonIfAny());
    if (location.root.kind == Kernel::GroupRoot::Kind::None && location.daemon == 0 &&
        ::geteuid() != 0) {
        throw Failure("cannot find the plugins' resource group: no daemon is visible to this user",
                      "run this as root, or set SENTREL_CGROUP_ROOT to the cgroup above the group");
    }
    UseGroupLocation(location);
    const Kernel::GroupState state = Kernel::ShowGroup(Sentrel::kPluginGroupPath);
    if (arguments.options.Has("--json")) {
        WriteStateJson(state, output);
    } else {
        WriteState(location, state, output);
    }
}

constexpr std::array<Command, 3> kCommands = {{
    {"group ensure",
     "make the plugins' resource group and reserve memory for it",
     "Makes the cgroup that all plugins run in and reserves the memory for it that the daemon's\n"
     "setting plugin_resource_pool_size_MB gives (40 MB by default). It is made below the cgroup\n"
     "that SENTREL_CGROUP_ROOT names, else where the running daemon looks for it, else below the\n"
     "cgroup v2 mount. May be repeated: what is there stays, and the reservation is renewed. "
     "Until\n"
     "the group is there the daemon refuses every launch; a daemon in a delegated unit makes its\n"
     "own.\n",
     "sentrelctl group ensure",
     kOptions,
     {},
     RunEnsure},
    {"group show",
     "show the plugins' resource group, what it uses and who is in it",
     "Shows the id and directory of the cgroup that all plugins run in, by which rule it is this\n"
     "one (see \"group ensure\"), its reservation, the peaks of its memory and of the groups "
     "inside\n"
     "it, and its processes. Where the kernel keeps no peak, what is resident now stands in its\n"
     "place. Sizes in JSON are in kilobytes (1024 bytes).\n",
     "sentrelctl group show --json",
     kOptions,
     {},
     RunShow},
    {"group kill",
     "end what outlived its batch",
     "The daemon sends a plugin SIGTERM when its time is up, and nothing to what the plugin "
     "started.\n"
     "This sends SIGKILL to every process of the group (see \"group show\") that is still there "
     "when\n"
     "the time of its plugin is surely over: the shortest period of the queues that have plugins,\n"
     "and 30 seconds; or that is older than the daemon. It shows which. Once a plugin has ended,\n"
     "the age of each process that it left counts for itself.\n",
     "sentrelctl group kill",
     kGroupKillOptions,
     {},
     RunGroupKill},
}};

}  // namespace

std::span<const Command> GroupCommands() { return kCommands; }

}  // namespace Ctl
