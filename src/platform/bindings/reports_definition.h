// The definition of the reports service: the wire names of its operations, structures and fields,
// what they mean, and who may call. The parameter checks, results, metadata file and introspection
// all read it, so a new field takes one row here and one member in reports_svc.h.
#pragma once

#include "platform/bindings/reports_svc.h"
#include "platform/runtime/call/native.h"
#include "platform/runtime/definition/definition.h"

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>

namespace Com::Korvex::Oru::Observability::ReportsSvc {

inline constexpr std::string_view kServiceId = "com.korvex.oru.observability.reports";

// The privilege that each operation of the service requires.
inline constexpr std::string_view kReadPrivilege = "observability.reports.read";

struct ListParameters {
    std::optional<FilterSpec> filter;
    std::optional<DetailLevel> detail;
};

struct GetParameters {
    std::string name;
};

::Quon::Definition::Operation DescribeList();
::Quon::Definition::Operation DescribeGet();
// The whole service.
::Quon::Definition::Service Describe();

}  // namespace Com::Korvex::Oru::Observability::ReportsSvc

namespace Quon::Native {

namespace ReportsSvc = ::Com::Korvex::Oru::Observability::ReportsSvc;

template <>
struct EnumerationOf<ReportsSvc::Status> {
    static constexpr std::string_view kName = "com.korvex.oru.observability.reports.status";
    static constexpr std::string_view kDocumentation = "The status that a report states.";
    static constexpr std::array<std::string_view, 5> kTexts = {"OK", "WARNING", "ERROR", "NONE",
                                                               "UNKNOWN"};
};

template <>
struct EnumerationOf<ReportsSvc::DetailLevel> {
    static constexpr std::string_view kName = "com.korvex.oru.observability.reports.detail_level";
    static constexpr std::string_view kDocumentation =
        "How much detail a listing contains. Any other text counts as BRIEF.";
    static constexpr std::array<std::string_view, 2> kTexts = {"FULL", "BRIEF"};
    static constexpr ReportsSvc::DetailLevel kOtherTexts = ReportsSvc::DetailLevel::BRIEF;
};

template <>
struct StructureOf<ReportsSvc::Summary> {
    static constexpr std::string_view kName = "com.korvex.oru.observability.reports.summary";
    static constexpr std::string_view kDocumentation =
        "The newest report of a report name, in a listing.";
    static constexpr auto kFields = std::make_tuple(
        Field{"name", &ReportsSvc::Summary::name, "The report name."},
        Field{"time", &ReportsSvc::Summary::time,
              "Brief: when the report was stored. Full: when the report was created."},
        Field{"status", &ReportsSvc::Summary::status, "The reported status. Full listings only."},
        Field{"unstructured", &ReportsSvc::Summary::unstructured,
              "The findings, as JSON text. Full listings only."});
};

template <>
struct StructureOf<ReportsSvc::Info> {
    static constexpr std::string_view kName = "com.korvex.oru.observability.reports.info";
    static constexpr std::string_view kDocumentation = "The newest report of a report name.";
    static constexpr auto kFields = std::make_tuple(
        Field{"time", &ReportsSvc::Info::time, "When the report was created."},
        Field{"status", &ReportsSvc::Info::status, "The reported status."},
        Field{"unstructured", &ReportsSvc::Info::unstructured, "The findings, as JSON text."});
};

template <>
struct StructureOf<ReportsSvc::ListResult> {
    static constexpr std::string_view kName = "com.korvex.oru.observability.reports.list_result";
    static constexpr std::string_view kDocumentation = "A listing of reports.";
    static constexpr auto kFields = std::make_tuple(
        Field{"reports", &ReportsSvc::ListResult::reports,
              "One summary for each report name, in no particular order. Reports that cannot be "
              "read are left out."});
};

template <>
struct StructureOf<ReportsSvc::FilterSpec> {
    static constexpr std::string_view kName = "com.korvex.oru.observability.reports.filter_spec";
    static constexpr std::string_view kDocumentation = "Which reports to list.";
    static constexpr auto kFields = std::make_tuple(
        Field{"names", &ReportsSvc::FilterSpec::names,
              "The report names to list, ignoring ASCII case. All if absent or empty."});
};

template <>
struct StructureOf<ReportsSvc::ListParameters> {
    static constexpr std::string_view kName = "com.korvex.oru.observability.reports.list";
    static constexpr std::string_view kDocumentation =
        "Lists the newest report of each report name.";
    static constexpr auto kFields =
        std::make_tuple(Field{"filter", &ReportsSvc::ListParameters::filter,
                              "Which reports to list. All if absent."},
                        Field{"detail", &ReportsSvc::ListParameters::detail,
                              "How much detail to return. BRIEF if absent."});
};

template <>
struct StructureOf<ReportsSvc::GetParameters> {
    static constexpr std::string_view kName = "com.korvex.oru.observability.reports.get";
    static constexpr std::string_view kDocumentation =
        "Returns the newest report of a report name.";
    static constexpr auto kFields = std::make_tuple(
        Field{"name", &ReportsSvc::GetParameters::name, "The report name, ignoring ASCII case."});
};

}  // namespace Quon::Native
