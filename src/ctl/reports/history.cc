#include "ctl/reports/history.h"

#include "ctl/host/daemon_settings.h"
#include "ctl/host/input_file.h"
#include "ctl/show/times.h"
#include "platform/json/json_scanner.h"
#include "store/report.h"
#include "store/report_name.h"
#include "store/report_time.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstddef>
#include <exception>
#include <filesystem>
#include <optional>
#include <system_error>
#include <tuple>
#include <utility>

namespace Ctl {

namespace {

// In fewer and plainer words than the library's.
std::string WhyNotJson(const std::string& text, const std::string& libraryText) {
    const std::optional<Json::Fault> fault =
        Json::FindFault(text, Json::Comments::Refused, Json::Root::AnyValue);
    if (!fault) {
        return libraryText;
    }
    const Json::JsonError error = Json::Locate(text, *fault);
    return "it is no JSON: line " + std::to_string(error.line) + ", column " +
           std::to_string(error.column) + ": " + error.Text();
}

// The same rules as the daemon's, but each failure is told.
void Read(const std::filesystem::path& path, const std::string& name, HistoricReport& historic) {
    std::string text;
    try {
        text = ReadRegularFile(path, Sentrel::kMaxStoredSize, "the file");
        Sentrel::Report report;
        Sentrel::ReportFromJson(Sentrel::ParseReportText(text), report);
        const std::string time = NormalTime(report.time);
        if (report.name.empty()) {
            historic.fault = "it lacks members of a report, or they are of another type";
        } else if (!Sentrel::IsSameReportName(report.name, name)) {
            historic.fault = "it calls itself \"" + report.name + "\"";
        } else if (time.empty()) {
            historic.fault = "its time \"" + report.time + "\" is none";
        } else {
            historic.report = {name, time, StatusName(report.status),
                               std::move(report.unstructured)};
        }
    } catch (const nlohmann::json::exception& exception) {
        historic.fault = WhyNotJson(text, exception.what());
    } catch (const std::exception& exception) {
        historic.fault = exception.what();
    }
}

}  // namespace

std::vector<HistoricReport> ReadHistory(const std::string& directory, const std::string& name) {
    (void)SilentLogger();  // what is wrong with a document is in its row
    std::vector<std::pair<std::filesystem::file_time_type, HistoricReport>> files;
    for (const auto& entry : std::filesystem::directory_iterator(directory)) {
        const std::string fileName = entry.path().filename();
        const std::string ownName(Sentrel::NameOfStoredFile(fileName).value_or(""));
        std::error_code error;  // it may be gone by now
        if (!Sentrel::IsSameReportName(ownName, name) ||
            !std::filesystem::is_regular_file(entry.symlink_status(error))) {
            continue;
        }
        const auto modified = std::filesystem::last_write_time(entry.path(), error);
        if (error) {
            continue;
        }
        HistoricReport historic{.file = fileName,
                                .stored = NormalTime(Sentrel::FormatModifiedTime(modified)),
                                .report = {.name = ownName, .time = ""},
                                .fault = "",
                                .isNewest = false};
        const std::filesystem::path target =
            std::filesystem::read_symlink(directory + Sentrel::LinkName(ownName), error);
        historic.isNewest = !error && target.filename() == fileName;
        Read(entry.path(), ownName, historic);
        files.emplace_back(modified, std::move(historic));
    }
    std::sort(files.begin(), files.end(), [](const auto& a, const auto& b) {
        return std::tuple(a.first, a.second.isNewest) > std::tuple(b.first, b.second.isNewest);
    });
    std::vector<HistoricReport> history;
    history.reserve(files.size());
    for (auto& [modified, historic] : files) {
        history.push_back(std::move(historic));
    }
    return history;
}

}  // namespace Ctl
