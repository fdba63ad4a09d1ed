#include "checks/units.h"

#include "checks/host_files.h"
#include "checks/service_manager.h"

#include <vector>

namespace Checks {

namespace {

using SentrelCheck::Bad;
using SentrelCheck::Limits;
using SentrelCheck::Report;
using SentrelCheck::Settings;
using SentrelCheck::Status;

constexpr Limits kFailed{1, std::nullopt};

// So many are named in the reason; all of them in "failed".
constexpr std::size_t kNamedUnits = 5;

std::string Join(const std::vector<std::string>& names, std::size_t most) {
    std::string joined;
    for (std::size_t i = 0; i < names.size() && i < most; ++i) {
        joined += (i == 0 ? "" : ", ") + names[i];
    }
    return names.size() > most ? joined + ", ..." : joined;
}

}  // namespace

void CheckUnits(const std::string& root, Settings& settings, Report& report) {
    const Limits limits = settings.GetLimits("failed", kFailed, Bad::High);
    const std::vector<std::string> ignored = settings.GetList("ignore");
    settings.RefuseUnknown();

    // What sd_booted(3) tests.
    if (!Exists(root + "/run/systemd/system")) {
        report.Find(Status::None, "this host is not run by systemd, so it has no service units");
        return;
    }
    std::vector<std::string> failed;
    try {
        for (std::string& name : ListFailedServices(root)) {
            if (!SentrelCheck::MatchesAny(ignored, name)) {
                failed.push_back(std::move(name));
            }
        }
    } catch (const BusError& problem) {
        report.Find(Status::Unknown,
                    std::string("systemd does not tell which services have failed: ") +
                        problem.what() + "; see whether `systemctl --failed` does");
        return;
    }
    report.AddText("failed", Join(failed, failed.size()));
    report.Judge("failed services (" + Join(failed, kNamedUnits) + "):",
                 {"failed", static_cast<double>(failed.size()), "", limits}, Bad::High);
    report.Summarize(failed.empty() ? "no service has failed"
                                    : "failed services: " + Join(failed, kNamedUnits));
}

}  // namespace Checks
