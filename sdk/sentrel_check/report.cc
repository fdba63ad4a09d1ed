#include "sentrel_check/report.h"

#include "sentrel_check/json_text.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <stdexcept>

namespace SentrelCheck {

namespace {

int Severity(Status status) {
    switch (status) {
        case Status::Ok:
            return 0;
        case Status::None:
            return 1;
        case Status::Unknown:
            return 2;
        case Status::Warning:
            return 3;
        case Status::Error:
            return 4;
    }
    return 0;
}

bool Crosses(double value, const std::optional<double>& limit, Bad bad) {
    return limit && (bad == Bad::High ? value >= *limit : value < *limit);
}

std::string Join(const std::vector<std::string>& sentences) {
    std::string joined;
    for (const std::string& sentence : sentences) {
        joined += joined.empty() ? sentence : "; " + sentence;
    }
    return joined;
}

std::string FormatUtc(std::chrono::system_clock::time_point time) {
    const std::time_t seconds = std::chrono::system_clock::to_time_t(time);
    std::tm fields{};
    ::gmtime_r(&seconds, &fields);
    std::array<char, 64> text{};
    const std::size_t length =
        std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S+00:00", &fields);
    return {text.data(), length};
}

std::string MetricToJson(const Metric& metric) {
    std::string json = R"({"value":)" + JsonNumber(metric.value);
    if (!metric.unit.empty()) {
        json += R"(,"unit":)" + JsonString(metric.unit);
    }
    const std::pair<const char*, std::optional<double>> members[] = {
        {"warning", metric.limits.warning},
        {"critical", metric.limits.critical},
        {"min", metric.min},
        {"max", metric.max}};
    for (const auto& [name, number] : members) {
        if (number) {
            json += "," + JsonString(name) + ":" + JsonNumber(*number);
        }
    }
    return json + "}";
}

}  // namespace

std::string ToWords(double value) {
    std::array<char, 400> text{};  // the largest double has 309 digits
    const int length = std::snprintf(text.data(), text.size(), "%.2f", value);
    std::string words(text.data(), static_cast<std::size_t>(length));
    words.erase(words.find_last_not_of('0') + 1);
    if (words.back() == '.') {
        words.pop_back();
    }
    return words == "-0" ? "0" : words;
}

void Report::AddMetric(const Metric& metric) {
    if (!std::isfinite(metric.value)) {
        throw std::invalid_argument("the metric " + metric.name + " is not a finite number");
    }
    metrics.push_back(metric);
}

void Report::Judge(std::string_view subject, const Metric& metric, Bad bad) {
    AddMetric(metric);
    const bool isCritical = Crosses(metric.value, metric.limits.critical, bad);
    if (!isCritical && !Crosses(metric.value, metric.limits.warning, bad)) {
        return;
    }
    const double limit = isCritical ? *metric.limits.critical : *metric.limits.warning;
    const std::string unit = metric.unit.empty() ? "" : " " + metric.unit;
    Find(isCritical ? Status::Error : Status::Warning,
         std::string(subject) + " " + ToWords(metric.value) + unit +
             (bad == Bad::High ? " is at or above " : " is below ") + ToWords(limit) + unit);
}

void Report::Find(Status status, std::string reason) {
    findings.push_back({status, std::move(reason)});
}

void Report::Summarize(std::string sentence) { summary.push_back(std::move(sentence)); }

void Report::AddText(std::string member, std::string text) {
    texts.emplace_back(std::move(member), std::move(text));
}

Status Report::GetStatus() const {
    Status worst = Status::Ok;
    for (const Finding& finding : findings) {
        if (Severity(finding.status) > Severity(worst)) {
            worst = finding.status;
        }
    }
    return worst;
}

std::string Report::Reason() const {
    if (findings.empty()) {
        return summary.empty() ? "no problems found" : Join(summary);
    }
    std::vector<Finding> ordered = findings;
    std::stable_sort(ordered.begin(), ordered.end(), [](const Finding& left, const Finding& right) {
        return Severity(left.status) > Severity(right.status);
    });
    std::vector<std::string> sentences;
    sentences.reserve(ordered.size());
    for (Finding& finding : ordered) {
        sentences.push_back(std::move(finding.reason));
    }
    return Join(sentences);
}

std::string Report::ToJson(std::chrono::system_clock::time_point now) const {
    std::string json = R"({"structured":{"name":)" + JsonString(name) + R"(,"time":)" +
                       JsonString(FormatUtc(now)) + R"(,"status":)" +
                       std::to_string(static_cast<int>(GetStatus())) +
                       R"(},"unstructured":{"reason":)" + JsonString(Reason());
    for (const auto& [member, text] : texts) {
        json += "," + JsonString(member) + ":" + JsonString(text);
    }
    json += R"(,"metrics":{)";
    for (std::size_t i = 0; i < metrics.size(); ++i) {
        json += (i == 0 ? "" : ",") + JsonString(metrics[i].name) + ":" + MetricToJson(metrics[i]);
    }
    return json + "}}}";
}

}  // namespace SentrelCheck
