#include "ctl/plugins/findings.h"

#include "ctl/plugins/file.h"
#include "ctl/plugins/launches.h"
#include "ctl/plugins/report_findings.h"
#include "ctl/plugins/wrapped.h"
#include "ctl/reports/state.h"
#include "ctl/settings/check.h"
#include "ctl/show/failure.h"
#include "ctl/show/words.h"
#include "platform/sys/host_root.h"
#include "store/report_name.h"

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <iterator>
#include <system_error>

#include <sys/stat.h>
#include <unistd.h>

namespace Ctl {

namespace {

std::string SubjectOf(const std::string& plugin) { return "plugin " + plugin; }

void Append(std::vector<Finding> more, std::vector<Finding>& findings) {
    findings.insert(findings.end(), std::make_move_iterator(more.begin()),
                    std::make_move_iterator(more.end()));
}

struct StoredNames {
    std::vector<std::string> links;
    // Includes names of stored files: a name has no link if another name has taken its place.
    std::vector<std::string> all;
};

// Ignores links in subdirectories, which the daemon never creates.
StoredNames ReadNames(const std::string& directory) {
    StoredNames names;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(directory, error)) {
        const std::string file = entry.path().filename();
        std::error_code failure;  // an error means that it is not a link
        const std::optional<std::string_view> link = Sentrel::NameOfLink(file);
        const std::optional<std::string_view> stored = Sentrel::NameOfStoredFile(file);
        if (link && entry.is_symlink(failure)) {
            names.links.emplace_back(*link);
            names.all.emplace_back(*link);
        } else if (stored && !file.starts_with('.')) {
            names.all.emplace_back(*stored);
        }
    }
    return names;
}

std::vector<Finding> CheckName(const std::string& subject, const std::string& name) {
    if (Sentrel::IsReportName(name)) {
        return {};
    }
    return {{Severity::Warning, subject,
             "its name contains characters outside " + std::string(Sentrel::kReportNameRule) +
                 ": it runs, but cannot post a report under its own name",
             "rename the plugin and its configuration"}};
}

std::vector<Finding> CheckConflicts(const std::string& subject, const std::string& name,
                                    const std::vector<NameConflict>& conflicts) {
    std::vector<Finding> findings;
    for (const NameConflict& conflict : conflicts) {
        if (conflict.one == name || conflict.other == name) {
            findings.push_back({Severity::Warning, subject, conflict.why, "rename one of the two"});
        }
    }
    return findings;
}

// Conflicts between reports that do not have a plugin's name.
std::vector<Finding> CheckOtherConflicts(const PluginSurvey& survey,
                                         const std::vector<NameConflict>& conflicts) {
    std::vector<Finding> findings;
    for (const NameConflict& conflict : conflicts) {
        const bool isOfPlugin =
            std::any_of(survey.entries.begin(), survey.entries.end(), [&](const auto& plugin) {
                return plugin.IsEnabled() &&
                       (plugin.Name() == conflict.one || plugin.Name() == conflict.other);
            });
        if (!isOfPlugin) {
            findings.push_back({Severity::Warning, "names of reports", conflict.why,
                                "rename one of the two, and remove the files of its old name"});
        }
    }
    return findings;
}

// Explains why an entry is not launched.
std::vector<Finding> ExplainLeftOut(const std::string& subject, const SurveyedPlugin& plugin) {
    switch (plugin.entry.verdict) {
        case Sentrel::PluginVerdict::Directory:
            return {{Severity::Notice, subject, plugin.location + " is a directory, not a plugin",
                     "leave it, or move it elsewhere"}};
        case Sentrel::PluginVerdict::Disabled:
            return {{Severity::Notice, subject, "disabled by its configuration",
                     "to enable it: sentrelctl config set " + plugin.Name() +
                         ".enabled true; then restart the daemon"}};
        default:
            return CheckPluginSettings(plugin.Name());
    }
}

}  // namespace

std::string WhyOf(const SurveyedPlugin& plugin) {
    if (plugin.entry.verdict == Sentrel::PluginVerdict::Directory) {
        return "a directory is not a plugin";
    }
    if (plugin.entry.verdict == Sentrel::PluginVerdict::Disabled) {
        return "its configuration says \"enabled\": false";
    }
    std::vector<std::string> why;
    const std::string ofSetting = plugin.Name() + ".";
    for (const Finding& finding : CheckPluginSettings(plugin.Name())) {
        const bool isOfSetting = finding.subject.starts_with(ofSetting);
        if (!isOfSetting || finding.severity > Severity::Notice) {
            why.push_back((isOfSetting ? finding.subject.substr(ofSetting.size()) + ": " : "") +
                          finding.text);
        }
    }
    return why.empty() ? "its configuration says so" : Joined(why, "; ");
}

std::string RemedyOf(const SurveyedPlugin& plugin) {
    const std::vector<Finding> findings = ExplainLeftOut(SubjectOf(plugin.Name()), plugin);
    const auto worst = std::max_element(
        findings.begin(), findings.end(),
        [](const Finding& low, const Finding& high) { return low.severity < high.severity; });
    return worst == findings.end() ? "see \"sentrelctl plugin check " + plugin.Name() + "\""
                                   : worst->remedy;
}

PluginReports ReadPluginReports(const Host& host, const PluginSurvey& survey) {
    PluginReports reports;
    StoredNames names;
    try {
        reports.directory = RequireReportDirectory(host);
        names = ReadNames(reports.directory);
    } catch (const Failure& failure) {
        if (host.hasNamedReports) {
            throw;
        }
        reports.problem = failure.what();
    }
    const std::vector<PluginPeriod> plugins = PeriodsOf(survey, host.state);
    for (const std::string& name : names.links) {
        if (const std::size_t plugin = FindPluginOf(name, plugins); plugin < plugins.size()) {
            reports.names[plugins[plugin].name].push_back(name);
        }
    }
    for (const PluginPeriod& plugin : plugins) {
        names.all.push_back(plugin.name);
    }
    reports.conflicts = FindNameConflicts(names.all);
    return reports;
}

RunUser FindPluginUser(const std::optional<DaemonProcess>& daemon, const PluginReports& reports) {
    if (daemon) {
        if (const std::optional<RunUser> user = UserOf(daemon->pid)) {
            return *user;
        }
    }
    struct stat status{};
    if (!reports.directory.empty() && ::stat(reports.directory.c_str(), &status) == 0) {
        return {status.st_uid, status.st_gid, {}};
    }
    return {::geteuid(), ::getegid(), {}};
}

std::vector<Finding> CheckPlugin(const SurveyedPlugin& plugin, const Host& host,
                                 const PluginReports& reports) {
    const std::string subject = SubjectOf(plugin.Name());
    if (!plugin.IsEnabled()) {
        return ExplainLeftOut(subject, plugin);
    }
    std::vector<Finding> findings = CheckExecutable(subject, plugin.location, host.user);
    Append(CheckOwnership(subject, plugin.location, host.user), findings);
    Append(CheckPluginSettings(plugin.Name()), findings);
    Append(CheckWrapped(subject, plugin), findings);
    Append(CheckName(subject, plugin.Name()), findings);
    Append(CheckConflicts(subject, plugin.Name(), reports.conflicts), findings);
    Append(CheckLaunches(subject, plugin, host), findings);
    Append(CheckReports(subject, plugin, host, reports), findings);
    if (findings.empty()) {
        findings.push_back({Severity::Good, subject,
                            "runs in the " + std::string(QueueOf(plugin)) + " queue", ""});
    }
    return findings;
}

std::vector<Finding> CheckPlugins(const PluginSurvey& survey, const Host& host,
                                  const PluginReports& reports) {
    const std::string subject = "plugin directory";
    const std::string directory = Sys::HostPath(Sentrel::kPluginDirectory);
    if (!survey.hasDirectory) {
        return {{Severity::Error, subject, directory + " is missing, so the daemon does not start",
                 "mkdir -p " + directory}};
    }
    std::vector<Finding> findings = CheckOwnership(subject, directory, host.user);
    if (survey.entries.empty()) {
        findings.push_back({Severity::Notice, subject, directory + " is empty: no plugin runs",
                            "create a plugin: sentrelctl plugin new NAME"});
    }
    if (!reports.problem.empty()) {
        findings.push_back({Severity::Notice, "reports", "not inspected", reports.problem});
    }
    for (const SurveyedPlugin& plugin : survey.entries) {
        Append(CheckPlugin(plugin, host, reports), findings);
    }
    Append(CheckUnusedWraps(survey), findings);
    Append(CheckOtherConflicts(survey, reports.conflicts), findings);
    return findings;
}

std::vector<Finding> CheckPluginProgram(const std::string& path) {
    const std::string name = std::filesystem::path(path).filename();
    std::vector<Finding> findings = CheckExecutable(path, path, {::geteuid(), ::getegid(), {}});
    Append(CheckName(path, name), findings);
    if (findings.empty()) {
        findings.push_back({Severity::Good, path, "could run as the plugin " + name, ""});
    }
    return findings;
}

}  // namespace Ctl
