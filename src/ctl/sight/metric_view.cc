#include "ctl/sight/metric_view.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <vector>

namespace Ctl {

namespace {

constexpr double kMaxWhole = 1e15;  // a double holds every smaller whole number
constexpr double kFourDigits = 1000;
constexpr double kWholePercent = 100;

ReportState LimitState(double value, const std::optional<double>& limit, bool isLowBad,
                       ReportState state) {
    const bool isReached = limit && (isLowBad ? value < *limit : value >= *limit);
    return isReached ? state : ReportState::Ok;
}

bool IsLowBad(const Metric& metric, ReportState state) {
    if (metric.warning && metric.critical) {
        return *metric.critical < *metric.warning;
    }
    const bool isError = state == ReportState::Error;
    return (metric.critical && metric.value >= *metric.critical && !isError) ||
           (metric.warning && metric.value >= *metric.warning && !isError &&
            state != ReportState::Warning);
}

std::string LimitsText(const Metric& metric, bool isLowBad) {
    std::string text;
    const auto add = [&](const char* name, const std::optional<double>& limit) {
        if (limit) {
            text += (text.empty() ? "" : ", ") + std::string(name) + (isLowBad ? " below " : " ") +
                    ShortNumber(*limit);
        }
    };
    add("warning", metric.warning);
    add("critical", metric.critical);
    return text;
}

std::size_t ColumnAt(double position, std::size_t width) {
    return std::min(static_cast<std::size_t>(position * static_cast<double>(width)), width - 1);
}

}  // namespace

std::string ShortNumber(double number) {
    const double size = std::abs(number);
    const bool isWhole = size < kMaxWhole && (size >= kFourDigits || number == std::trunc(number));
    std::array<char, 32> text{};
    (void)std::snprintf(text.data(), text.size(), isWhole ? "%.0f" : "%.4g",
                        number == 0 ? 0 : number);
    return text.data();
}

MetricView ViewOf(const Metric& metric, ReportState state) {
    const bool isLowBad = IsLowBad(metric, state);
    MetricView view;
    view.value = ShortNumber(metric.value) + (metric.unit.empty() ? "" : " " + metric.unit);
    view.limits = LimitsText(metric, isLowBad);
    const ReportState warning =
        LimitState(metric.value, metric.warning, isLowBad, ReportState::Warning);
    const ReportState critical =
        LimitState(metric.value, metric.critical, isLowBad, ReportState::Error);
    view.verdict = critical == ReportState::Ok ? warning : critical;

    double end = std::max({metric.value, metric.warning.value_or(0), metric.critical.value_or(0)});
    end = metric.unit == "%" ? std::max(end, kWholePercent) : end;
    const auto position = [end](double value) {
        return end > 0 ? std::clamp(value / end, 0.0, 1.0) : 0.0;
    };
    view.filled = position(metric.value);
    if (metric.warning) {
        view.warningAt = position(*metric.warning);
    }
    if (metric.critical) {
        view.criticalAt = position(*metric.critical);
    }
    return view;
}

std::string BarText(const MetricView& view, std::size_t width) {
    static constexpr std::array<const char*, 8> kEighths = {"", "▏", "▎", "▍", "▌", "▋", "▊", "▉"};
    std::vector<std::string> columns(width, " ");
    const auto eighths =
        static_cast<std::size_t>(std::lround(view.filled * static_cast<double>(width * 8)));
    std::fill_n(columns.begin(), eighths / 8, "█");
    if (eighths % 8 != 0) {
        columns[eighths / 8] = kEighths[eighths % 8];
    }
    if (view.warningAt) {
        columns[ColumnAt(*view.warningAt, width)] = "▲";
    }
    if (view.criticalAt) {
        columns[ColumnAt(*view.criticalAt, width)] = "✖";
    }
    std::string bar;
    for (const std::string& column : columns) {
        bar += column;
    }
    return bar.erase(bar.find_last_not_of(' ') + 1);
}

}  // namespace Ctl
