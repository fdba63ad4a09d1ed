// The result of a check: metrics with verdicts, a status, and its reason in words; and the document
// that the intake accepts. intake_client posts it.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace SentrelCheck {

// The status codes of the report document.
enum class Status {
    Ok = 0,
    Warning = 1,
    Error = 2,
    None = 3,     // the host lacks what the check examines
    Unknown = 4,  // the check could not determine the state
};

// The values at which a metric becomes a WARNING or an ERROR; an unset limit never applies.
struct Limits {
    std::optional<double> warning;
    std::optional<double> critical;
};

// Whether values are bad when they reach a limit or when they are below it.
enum class Bad { High, Low };

struct Metric {
    std::string name;  // unique in the report, such as "steal" or "space_free:/var"
    double value = 0;
    std::string unit;  // such as "%", "s" or "MiB"; empty for a plain number
    Limits limits{};
    std::optional<double> min{};  // the lowest and the highest possible value
    std::optional<double> max{};
};

// `value` as reasons show it: with at most two decimals and no trailing zeros.
std::string ToWords(double value);

// A value type. The status is the worst of all findings (in the order error, warning, unknown,
// none, ok), and ok without findings.
class Report {
  public:
    explicit Report(std::string name) : name(std::move(name)) {}

    // Adds a metric without judging it; its limits only inform the reader. Throws
    // std::invalid_argument if the value is not finite, which JSON cannot express.
    void AddMetric(const Metric& metric);
    // Adds a metric and, if it crosses a limit, a finding. `subject` starts its sentence: "memory
    // available" leads to "memory available 3.1 % is below 5 %".
    void Judge(std::string_view subject, const Metric& metric, Bad bad);
    // Adds a finding.
    void Find(Status status, std::string reason);
    // Adds a sentence to the summary, the reason of a report that has no findings.
    void Summarize(std::string sentence);
    // Adds a member to "unstructured", other than "reason" and "metrics".
    void AddText(std::string member, std::string text);

    Status GetStatus() const;
    // The findings, worst first, or else the summary, joined by "; ". Never empty.
    std::string Reason() const;
    // The document, whose "time" is `now` in UTC with its zone. Bytes that are not UTF-8 become
    // U+FFFD.
    std::string ToJson(std::chrono::system_clock::time_point now) const;

  private:
    struct Finding {
        Status status;
        std::string reason;
    };

    std::string name;
    std::vector<Finding> findings;
    std::vector<std::string> summary;
    std::vector<Metric> metrics;
    std::vector<std::pair<std::string, std::string>> texts;
};

}  // namespace SentrelCheck
