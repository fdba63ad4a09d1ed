// Runs one plugin. The order matters: the port is bound before the plugin runs, and the threads
// that answer on it start only after the fork that starts the plugin.
#include "ctl/plugin_run/command.h"

#include "core/settings/settings.h"
#include "ctl/command/command_line.h"
#include "ctl/group/location.h"
#include "ctl/host/daemon_process.h"
#include "ctl/host/daemon_settings.h"
#include "ctl/host/host.h"
#include "ctl/host/listening_sockets.h"
#include "ctl/host/plugin_survey.h"
#include "ctl/host/process_stat.h"
#include "ctl/plugin_run/intake.h"
#include "ctl/plugin_run/process.h"
#include "ctl/plugin_run/result.h"
#include "ctl/plugins/findings.h"
#include "ctl/show/durations.h"
#include "ctl/show/failure.h"
#include "ctl/show/json_output.h"
#include "ctl/show/near_names.h"
#include "platform/kernel/groups/embedded_backend.h"
#include "platform/kernel/groups/groups.h"
#include "platform/kernel/spawn/process_table.h"
#include "platform/kernel/spawn/sandbox.h"
#include "platform/sys/host_root.h"
#include "plugins/queue_timing.h"
#include "plugins/resource_group.h"

#include <algorithm>
#include <array>
#include <memory>
#include <optional>
#include <ostream>
#include <string_view>
#include <utility>

#include <unistd.h>

namespace Ctl {

namespace {

using Verdict = Sentrel::PluginVerdict;

constexpr std::string_view kToolName = "sentrelctl";

constexpr std::array<Option, 3> kOptions = {{
    kJsonOption,
    {"--timeout", "SECONDS", "when to send SIGTERM; 30 by default, as in the schedule"},
    kReportsOption,
}};

std::chrono::seconds ReadTimeout(const GivenOptions& options) {
    if (!options.Has("--timeout")) {
        return std::chrono::seconds(Sentrel::kThrottleTimeoutSeconds);
    }
    const std::string given = options.Value("--timeout");
    const bool hasUnit = given.find_first_not_of("0123456789") != std::string::npos;
    const auto timeout = ParseLifetime(hasUnit ? given : given + "s");
    if (!timeout) {
        throw UsageError("invalid duration \"" + given + "\" for --timeout",
                         "use a number of seconds, for example 60");
    }
    return *timeout;
}

SurveyedPlugin FindPlugin(const PluginSurvey& survey, const std::string& name) {
    std::vector<std::string> names;
    for (const SurveyedPlugin& plugin : survey.entries) {
        if (plugin.entry.verdict == Verdict::Directory) {
            continue;
        }
        if (plugin.Name() == name) {
            return plugin;
        }
        names.push_back(plugin.Name());
    }
    throw Failure("no plugin named \"" + name + "\" in " + Sys::HostPath(Sentrel::kPluginDirectory),
                  NearNamesAdvice(name, names, "see \"sentrelctl plugin list\""));
}

void ReportIfNotScheduled(const SurveyedPlugin& plugin, PluginRun& run) {
    if (!plugin.IsEnabled()) {
        run.findings.push_back({Severity::Warning, "plugin " + plugin.Name(),
                                "the daemon does not start it: " + WhyOf(plugin),
                                RemedyOf(plugin)});
    }
}

// Makes the launch use the daemon's resource group.
void UseGroup(const std::optional<DaemonProcess>& daemon, PluginRun& run) {
    const GroupLocation location = FindGroupLocation(daemon);
    if (location.root.kind != Kernel::GroupRoot::Kind::None) {
        UseGroupLocation(location);
        run.groupDirectory = location.root.directory + "/" + Sentrel::kPluginGroupPath;
        return;
    }
    Kernel::UseGroups(std::make_unique<Kernel::EmbeddedBackend>(Kernel::ProcessTable::Spawned()));
    (void)Kernel::EnsureGroup(Sentrel::kPluginGroupPath, 0);  // the process table reserves nothing
}

void ReadGroupPeak(PluginRun& run) {
    if (!run.groupDirectory.empty() &&
        ::access((run.groupDirectory + "/memory.peak").c_str(), R_OK) == 0) {
        run.groupPeakKB = Kernel::ShowGroup(Sentrel::kPluginGroupPath).memory.peak;
    }
}

void ReadLimits(std::uint64_t killsBefore, PluginRun& run) {
    if (run.groupDirectory.empty()) {
        return;
    }
    run.memoryLimitKB = Kernel::ShowGroup(Sentrel::kPluginGroupPath).memoryLimitKB;
    const std::uint64_t kills = Kernel::Groups().CountMemoryKills(Sentrel::kPluginGroupPath);
    run.memoryKills = kills - std::min(kills, killsBefore);
}

// The user that the plugin runs as, if it runs in the sandbox.
std::optional<RunUser> FindSandboxUser(const Sentrel::PluginInfo& plugin,
                                       const std::optional<RunUser>& other) {
    const std::optional<RunUser> user = other ? other : UserOf(::getpid());
    const bool isSandboxed =
        plugin.sandbox && user && user->user != 0 && Kernel::LandlockVersion() != 0;
    return isSandboxed ? user : std::nullopt;
}

// The process that receives posts now, as a text; empty if none does. Throws if it is not a running
// daemon, or is another user's, since this user may not start a process in its group.
std::string FindIntake(std::int32_t port, const std::optional<DaemonProcess>& daemon) {
    if (daemon) {
        const std::optional<ProcessStat> stat = ReadProcessStat(daemon->pid);
        if (stat && stat->name == kToolName) {
            throw Failure("another \"plugin run\", process " + std::to_string(daemon->pid) +
                              ", holds port " + std::to_string(port),
                          "wait until it exits");
        }
        if (stat && stat->name != kDaemonName) {
            throw Failure("port " + std::to_string(port) + " is held by process " +
                              std::to_string(daemon->pid) + " (" + stat->name +
                              "), not by sentrel, which cannot run",
                          "terminate that process, or set another http_port");
        }
        if (stat && IsStopped(*stat)) {
            throw Failure("the daemon, process " + std::to_string(daemon->pid) +
                              ", is stopped by a signal and stores nothing",
                          "continue it: kill -CONT " + std::to_string(daemon->pid));
        }
        return (stat ? stat->name : "a process") + " (" + std::to_string(daemon->pid) + ")";
    }
    for (const ListeningSocket& socket : FindListeningSockets(static_cast<std::uint16_t>(port))) {
        if (socket.reach == ListeningSocket::Reach::OneAddress) {
            continue;
        }
        if (::geteuid() != 0 && socket.user != ::geteuid()) {
            throw Failure("the daemon on port " + std::to_string(port) + " runs as " +
                              NameOfUser(socket.user) +
                              ", in whose resource group this user cannot start processes",
                          "run this as root");
        }
        return "a process that this user cannot identify";
    }
    return "";
}

// The user to become: the daemon's, if this process runs as root and the daemon does not.
std::optional<RunUser> FindUser(const std::optional<DaemonProcess>& daemon, PluginRun& run) {
    run.user = NameOfUser(::geteuid());
    if (::geteuid() != 0 || !daemon) {
        return std::nullopt;
    }
    std::optional<RunUser> user = UserOf(daemon->pid);
    if (!user || user->user == 0) {
        return std::nullopt;
    }
    run.user = NameOfUser(user->user);
    return user;
}

// The plugin's posts that the daemon stored or refused.
void TakePosts(const StoredReports& stored, std::chrono::system_clock::time_point start,
               PluginRun& run) {
    for (Post& post : FindRefused(start)) {
        PostJudgement judgement = JudgePost(std::move(post), run.plugin);
        if (judgement.isOfPlugin) {
            run.posts.push_back(std::move(judgement));
        }
    }
    for (Post& post : stored.FindNew()) {
        PostJudgement judgement = JudgePost(std::move(post), run.plugin);
        if (judgement.isOfPlugin) {
            run.posts.push_back(std::move(judgement));
        } else {
            run.otherNames.push_back(judgement.post.name);
        }
    }
}

void Run(const Sentrel::Plugin& plugin, const PluginStarter& starter, const Host& host,
         LiveOutput* live, PluginRun& run) {
    std::optional<StoredReports> stored;
    std::optional<StandInIntake> standIn;
    if (run.intake.empty()) {
        standIn.emplace(run.port);
    } else {
        stored.emplace(RequireReportDirectory(host));
    }
    const auto start = std::chrono::system_clock::now();
    PluginProcess process(plugin, starter);
    run.pid = process.Pid();
    if (standIn) {
        standIn->Start();
    }
    run.end = process.Await(run.timeout, live);
    if (stored) {
        TakePosts(*stored, start, run);
    } else {
        for (Post& post : standIn->Stop()) {
            run.posts.push_back(JudgePost(std::move(post), run.plugin));
        }
    }
}

int RunPlugin(const Arguments& arguments, std::ostream& output) {
    PluginRun run;
    run.plugin = arguments.operands[0];
    run.timeout = ReadTimeout(arguments.options);
    const PluginSurvey survey = SurveyPlugins();
    const SurveyedPlugin found = FindPlugin(survey, run.plugin);
    run.period = found.period;
    ReportIfNotScheduled(found, run);
    const auto settings = ReadDaemonSettingsOrDefaults();
    run.port = Sentrel::GetHttpPort(settings, SilentLogger());
    Host host = HostOf(arguments.options);
    host.daemon = FindDaemonProcess();
    run.intake = FindIntake(run.port, host.daemon);
    UseGroup(host.daemon, run);
    const PluginStarter starter{
        FindUser(host.daemon, run),
        host.daemon ? std::optional(InheritanceOf(host.daemon->pid)) : std::nullopt};
    Sentrel::Plugin::sResourcePoolSizeMB = survey.poolSizeMB;
    const Sentrel::Plugin plugin(found.entry.info, settings);
    for (char* const* argument = plugin.GetArgv(); *argument != nullptr; ++argument) {
        run.arguments.emplace_back(*argument);
    }
    run.sandboxUser = FindSandboxUser(found.entry.info, starter.user);
    const std::uint64_t killsBefore = Kernel::Groups().CountMemoryKills(Sentrel::kPluginGroupPath);
    const bool asJson = arguments.options.Has("--json");
    LiveOutput live(output, run.timeout);
    Run(plugin, starter, host, asJson ? nullptr : &live, run);
    ReadGroupPeak(run);
    ReadLimits(killsBefore, run);
    JudgeRun(run);
    if (asJson) {
        WriteRunJson(run, output);
    } else {
        WriteRun(run, output);
    }
    return WorstOf(run.findings) == Severity::Error ? 1 : 0;
}

constexpr std::array<Command, 1> kCommands = {{
    {"plugin run",
     "run a plugin once as the daemon would, and judge what it does",
     "Starts the plugin as the daemon does: with the same command line, an empty environment\n"
     "and three descriptors, in the same resource group and sandbox. If run by root, it also\n"
     "has the user, file mask, limits and niceness of the running daemon; the other\n"
     "restrictions of the daemon's unit, such as its view of the file system, do not apply.\n"
     "After 30 seconds the plugin is sent SIGTERM and, unlike in production, 5 seconds later\n"
     "SIGKILL; processes that it leaves running are killed. Shows its exit status, run time,\n"
     "peak memory, output and reports. The daemon stores the reports; if it is not running,\n"
     "sentrelctl receives them and stores nothing.\n"
     "\n"
     "Exit status: 0 if the plugin exited with 0 and posted a valid report under its name;\n"
     "1 if it did not, if it reported UNKNOWN and wrote to standard error, or if it could not\n"
     "be started; 2 if the command line is invalid.\n",
     "sentrelctl plugin run memory",
     kOptions,
     {"NAME", 1, 1, Completes::PluginName},
     nullptr,
     RunPlugin},
}};

}  // namespace

std::span<const Command> PluginRunCommands() { return kCommands; }

}  // namespace Ctl
