#include "ctl/reports/history.h"

#include "ctl/host/daemon_settings.h"
#include "ctl/host/input_file.h"
#include "ctl/show/failure.h"
#include "ctl/show/times.h"
#include "platform/json/json_scanner.h"
#include "store/report.h"
#include "store/report_name.h"
#include "store/report_time.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <exception>
#include <filesystem>
#include <iterator>
#include <optional>
#include <string_view>
#include <system_error>
#include <tuple>
#include <utility>

#include <unistd.h>

namespace Ctl {

namespace {

// A shorter and plainer text than the library's.
std::string WhyNotJson(const std::string& text, const std::string& libraryText) {
    const std::optional<Json::Fault> fault =
        Json::FindFault(text, Json::Comments::Refused, Json::Root::AnyValue);
    if (!fault) {
        return libraryText;
    }
    const Json::JsonError error = Json::Locate(text, *fault);
    return "it is not JSON: line " + std::to_string(error.line) + ", column " +
           std::to_string(error.column) + ": " + error.Text();
}

// Applies the daemon's rules, but records each failure.
void Read(const std::filesystem::path& path, const std::string& name, HistoricReport& historic) {
    std::string text;
    if (::access(path.c_str(), R_OK) != 0 && errno == EACCES) {
        throw Failure("cannot read " + path.string(), EACCES,
                      "run this as root, or as a member of the directory's group");
    }
    try {
        text = ReadRegularFile(path, Sentrel::kMaxStoredSize, "the file");
        Sentrel::Report report;
        Sentrel::ReportFromJson(Sentrel::ParseReportText(text), report);
        const std::string time = NormalTime(report.time);
        if (report.name.empty()) {
            historic.fault = "a member of the report is missing or has the wrong type";
        } else if (!Sentrel::IsSameReportName(report.name, name)) {
            historic.fault = "it contains the name \"" + report.name + "\"";
        } else if (time.empty()) {
            historic.fault = "its time \"" + report.time + "\" is invalid";
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

using ModifiedReport = std::pair<std::filesystem::file_time_type, HistoricReport>;

// The stored report of the entry; nothing if the file is gone, or does not belong to a ring.
std::optional<ModifiedReport> ReadEntry(const std::filesystem::directory_entry& entry,
                                        const std::string& directory) {
    const std::string fileName = entry.path().filename();
    const std::optional<std::string_view> ownName = Sentrel::NameOfStoredFile(fileName);
    std::error_code error;
    if (!ownName || !std::filesystem::is_regular_file(entry.symlink_status(error))) {
        return std::nullopt;
    }
    const auto modified = std::filesystem::last_write_time(entry.path(), error);
    if (error) {
        return std::nullopt;
    }
    const std::string name(*ownName);
    HistoricReport historic{.file = fileName,
                            .stored = NormalTime(Sentrel::FormatModifiedTime(modified)),
                            .report = {.name = name, .time = ""},
                            .fault = "",
                            .isNewest = false};
    const std::filesystem::path target =
        std::filesystem::read_symlink(directory + Sentrel::LinkName(name), error);
    historic.isNewest = !error && target.filename() == fileName;
    Read(entry.path(), name, historic);
    return ModifiedReport(modified, std::move(historic));
}

std::vector<HistoricReport> NewestFirst(std::vector<ModifiedReport>&& files) {
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

// The stored reports of the names that `isWanted` accepts, by name.
template <typename Predicate>
std::map<std::string, std::vector<ModifiedReport>> ReadFiles(const std::string& directory,
                                                             const Predicate& isWanted) {
    (void)SilentLogger();  // the faults of a document are in its row
    std::map<std::string, std::vector<ModifiedReport>> files;
    for (const auto& entry : std::filesystem::directory_iterator(directory)) {
        const std::string fileName = entry.path().filename();
        const std::string name(Sentrel::NameOfStoredFile(fileName).value_or(""));
        if (!name.empty() && isWanted(name)) {
            if (std::optional<ModifiedReport> read = ReadEntry(entry, directory)) {
                files[name].push_back(*std::move(read));
            }
        }
    }
    return files;
}

}  // namespace

std::vector<HistoricReport> ReadHistory(const std::string& directory, const std::string& name) {
    std::vector<ModifiedReport> all;
    for (auto& [own, files] : ReadFiles(directory, [&name](const std::string& own) {
             return Sentrel::IsSameReportName(own, name);
         })) {
        all.insert(all.end(), std::make_move_iterator(files.begin()),
                   std::make_move_iterator(files.end()));
    }
    return NewestFirst(std::move(all));
}

std::map<std::string, std::vector<HistoricReport>> ReadHistories(const std::string& directory) {
    std::map<std::string, std::vector<HistoricReport>> histories;
    for (auto& [name, files] : ReadFiles(directory, [](const std::string&) { return true; })) {
        histories.emplace(name, NewestFirst(std::move(files)));
    }
    return histories;
}

}  // namespace Ctl
