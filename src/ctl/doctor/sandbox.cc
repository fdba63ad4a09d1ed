// "doctor": the sandbox that protects the daemon's files and processes from plugins, and its gaps
// on this kernel.
#include "platform/kernel/spawn/sandbox.h"

#include "ctl/doctor/subjects.h"
#include "ctl/host/plugin_survey.h"
#include "ctl/show/words.h"

namespace Ctl {

namespace {

constexpr const char* kSubject = "sandbox";

Finding JudgeKernel() {
    const int version = Kernel::LandlockVersion();
    const std::string landlock = "Landlock version " + std::to_string(version);
    if (version == 0) {
        return {Severity::Warning, kSubject,
                "the kernel has no Landlock: plugins can write whatever the daemon can",
                "boot Linux 5.13 or newer, with landlock in lsm= of its command line"};
    }
    if (version < Kernel::kLandlockWithSignals) {
        return {Severity::Notice, kSubject,
                landlock + " does not keep plugins from signalling the daemon" +
                    (version < Kernel::kLandlockWithTruncate ? " or truncating its files" : ""),
                "boot Linux 6.12 or newer"};
    }
    return {Severity::Good, kSubject, "plugins are confined by " + landlock, ""};
}

}  // namespace

void CheckSandbox(const Host& host, Findings& findings) {
    if (host.user.user == 0) {
        findings.push_back({Severity::Notice, kSubject, "plugins run as root, without a sandbox",
                            "run sentrel as its unit does"});
        return;
    }
    findings.push_back(JudgeKernel());
    std::vector<std::string> lifted;
    for (const SurveyedPlugin& plugin : SurveyPlugins().entries) {
        if (plugin.IsEnabled() && !plugin.entry.info.sandbox) {
            lifted.push_back(plugin.Name());
        }
    }
    if (!lifted.empty()) {
        findings.push_back({Severity::Notice, kSubject,
                            "the sandbox is disabled for: " + Abridged(lifted),
                            "sentrelctl config set NAME.sandbox --unset"});
    }
}

}  // namespace Ctl
