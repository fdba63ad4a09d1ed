// Writes a run as JSON.
#include "ctl/plugin_run/result.h"
#include "ctl/show/json_output.h"

#include <nlohmann/json.hpp>

#include <ostream>

namespace Ctl {

namespace {

using Json = nlohmann::ordered_json;

double SecondsOf(std::chrono::microseconds time) {
    return std::chrono::duration<double>(time).count();
}

Json OutputJson(const PluginOutput& output) {
    return {{"bytes", output.bytes}, {"text", output.text}};
}

// Members are null for events that did not happen.
Json EndJson(const PluginEnd& end) {
    Json left = Json::array();
    for (const LeftProcess& process : end.left) {
        left.push_back({{"pid", process.pid}, {"name", process.name}, {"ended", process.hasEnded}});
    }
    const char* const asked[] = {"", "timeout", "interrupt"};
    Json json = {{"exitStatus", nullptr},
                 {"signal", nullptr},
                 {"terminated", nullptr},
                 {"killed", end.wasKilled},
                 {"seconds", SecondsOf(end.wallTime)},
                 {"userSeconds", SecondsOf(end.userTime)},
                 {"systemSeconds", SecondsOf(end.systemTime)},
                 {"peakKB", end.peakKB},
                 {"peakIsUpperBound", end.peakIsBound},
                 {"standardOutput", OutputJson(end.output)},
                 {"standardError", OutputJson(end.error)},
                 {"left", left}};
    if (end.signal != 0) {
        json["signal"] = NameOfSignal(end.signal);
    } else {
        json["exitStatus"] = end.exitStatus;
    }
    if (end.asked != PluginEnd::Asked::Not) {
        json["terminated"] = asked[static_cast<int>(end.asked)];
    }
    return json;
}

Json MetricsJson(const std::vector<Metric>& metrics) {
    Json json = Json::object();
    for (const Metric& metric : metrics) {
        json[metric.name] = {{"value", metric.value}, {"unit", metric.unit}};
    }
    return json;
}

Json PostJson(const PostJudgement& judged) {
    return {{"name", judged.post.name},     {"method", judged.post.method},
            {"answer", judged.post.answer}, {"bytes", judged.post.document.size()},
            {"good", judged.IsGood()},      {"ofPlugin", judged.isOfPlugin},
            {"problems", judged.problems},  {"state", judged.state},
            {"reason", judged.reason},      {"metrics", MetricsJson(judged.metrics)}};
}

}  // namespace

void WriteRunJson(const PluginRun& run, std::ostream& output) {
    Json reports = Json::array();
    for (const PostJudgement& post : run.posts) {
        reports.push_back(PostJson(post));
    }
    Json findings = Json::array();
    for (const Finding& finding : run.findings) {
        findings.push_back({{"severity", NameOf(finding.severity)},
                            {"subject", finding.subject},
                            {"text", finding.text},
                            {"remedy", finding.remedy}});
    }
    Json json = {{"plugin", run.plugin}, {"arguments", run.arguments},
                 {"user", run.user},     {"groupDirectory", run.groupDirectory},
                 {"pid", run.pid},       {"timeoutSeconds", run.timeout.count()}};
    json.update(EndJson(run.end));
    if (run.groupPeakKB) {
        json["groupPeakKB"] = *run.groupPeakKB;
    }
    json["port"] = run.port;
    json["intake"] = run.intake.empty() ? "sentrelctl" : run.intake;
    json["reports"] = std::move(reports);
    json["worst"] = NameOf(WorstOf(run.findings));
    json["findings"] = std::move(findings);
    WriteJson(json, output);
}

}  // namespace Ctl
