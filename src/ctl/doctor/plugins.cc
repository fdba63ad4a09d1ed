// "doctor": settings and plugins, which "config check" and "plugin check" inspect in detail.
#include "ctl/doctor/subjects.h"
#include "ctl/host/plugin_survey.h"
#include "ctl/plugins/findings.h"
#include "ctl/settings/check.h"
#include "ctl/show/words.h"

#include <algorithm>
#include <iterator>

namespace Ctl {

namespace {

std::string CountsOf(const PluginSurvey& survey) {
    const Sentrel::PluginCounts& counts = survey.counts;
    const std::size_t enabled = counts.fast + counts.medium + counts.slow;
    return Counted(enabled, "plugin is", "plugins are") +
           " launched: " + std::to_string(counts.fast) + " fast, " + std::to_string(counts.medium) +
           " medium, " + std::to_string(counts.slow) + " slow";
}

}  // namespace

void CheckSettings(const Host& /*host*/, Findings& findings) {
    Findings found = CheckConfiguration();
    // other subjects report the trust set and the plugins as a whole too
    std::erase_if(found, [](const Finding& one) {
        return one.subject.starts_with("plugin ") ||
               (one.subject == "token.jwks" && one.severity == Severity::Warning);
    });
    std::move(found.begin(), found.end(), std::back_inserter(findings));
}

void CheckAllPlugins(const Host& host, Findings& findings) {
    if (!host.settingsProblem.empty()) {
        return;  // CheckSettings reports it
    }
    const PluginSurvey survey = SurveyPlugins();
    PluginReports reports = ReadPluginReports(host, survey);
    reports.problem = "";  // CheckReportDirectory reports it
    Findings found = CheckPlugins(survey, host, reports);
    std::erase_if(found, [&findings](const Finding& one) {
        return one.severity == Severity::Good ||
               std::any_of(findings.begin(), findings.end(), [&one](const Finding& said) {
                   return said.subject == one.subject && said.text == one.text;
               });
    });
    const bool isAllWell = std::none_of(found.begin(), found.end(), [](const Finding& one) {
        return one.severity > Severity::Notice;
    });
    if (isAllWell) {
        findings.push_back({Severity::Good, "plugins", CountsOf(survey), ""});
    }
    std::move(found.begin(), found.end(), std::back_inserter(findings));
}

}  // namespace Ctl
