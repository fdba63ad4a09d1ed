// What a check found: judged metrics, a status, its reason in words; and the document in which the
// intake takes it. Sending it is left to intake_client.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace SentrelCheck {

// The codes of the report document.
enum class Status {
    Ok = 0,
    Warning = 1,
    Error = 2,
    None = 3,     // the host lacks what the check is about
    Unknown = 4,  // the check could not find out
};

// Values from which on a metric is bad; an absent one never is.
struct Limits {
    std::optional<double> warning;
    std::optional<double> critical;
};

// Which values are bad: those that reach a limit, or those below it.
enum class Bad { High, Low };

struct Metric {
    std::string name;  // unique in the report, such as "steal" or "space_free:/var"
    double value = 0;
    std::string unit;  // such as "%", "s" or "MiB"; empty for a plain number
    Limits limits{};
};

// `value` with at most two decimals, without zeros at its end, as reasons show it.
std::string ToWords(double value);

// A plain value. The status is the worst of all findings (error, warning, unknown, none, ok), and
// ok as long as there is none.
class Report {
  public:
    explicit Report(std::string name) : name(std::move(name)) {}

    // Adds a metric without an opinion on it; its limits are for the reader only. Throws
    // std::invalid_argument when the value is not finite, which JSON can't hold.
    void AddMetric(const Metric& metric);
    // The same, and the finding that follows when it crosses a limit. `subject` opens the sentence:
    // "memory available" makes "memory available 3.1 % is below 5 %".
    void Judge(std::string_view subject, const Metric& metric, Bad bad);
    // Records that something is in this status and why.
    void Find(Status status, std::string reason);
    // A sentence for the reason of a report that has no findings.
    void Summarize(std::string sentence);
    // A further member of "unstructured". Not "reason" or "metrics".
    void AddText(std::string member, std::string text);

    Status GetStatus() const;
    // The findings, worst first, or the summary; joined by "; ". Never empty.
    std::string Reason() const;
    // The document, whose "time" is `now` in UTC with its zone. Bytes that are no UTF-8 appear as
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
