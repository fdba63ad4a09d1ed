#include "ctl/sight/report_json.h"

#include "ctl/show/times.h"

#include <nlohmann/json.hpp>

namespace Ctl {

nlohmann::ordered_json SilenceJson(const Silence& silence) {
    return {{"until", UtcText(silence.until)}, {"because", silence.because}};
}

nlohmann::ordered_json ToJson(const JudgedReport& report) {
    nlohmann::ordered_json object = {{"name", report.report.name}, {"state", NameOf(report.state)}};
    if (report.state != ReportState::Never) {
        object["time"] = report.report.time;
    }
    if (report.age) {
        object["ageSeconds"] = report.age->count();
        object["status"] = report.report.status;
        object["unstructured"] = report.report.unstructured;
    }
    if (report.silence) {
        object["silence"] = SilenceJson(*report.silence);
    }
    return object;
}

nlohmann::ordered_json ToDecodedJson(const JudgedReport& report) {
    nlohmann::ordered_json object = ToJson(report);
    const auto text = object.find("unstructured");
    if (text != object.end()) {
        nlohmann::ordered_json value =
            nlohmann::ordered_json::parse(report.report.unstructured, nullptr, false);
        *text = value.is_discarded() ? nlohmann::ordered_json() : std::move(value);
    }
    return object;
}

}  // namespace Ctl
