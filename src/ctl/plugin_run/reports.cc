#include "ctl/plugin_run/reports.h"

#include "ctl/host/daemon_settings.h"
#include "ctl/host/input_file.h"
#include "ctl/post/check.h"
#include "ctl/post/intake_answer.h"
#include "ctl/reports/source.h"
#include "ctl/show/failure.h"
#include "ctl/show/times.h"
#include "intake/report_job.h"
#include "state/state_reader.h"
#include "store/report.h"
#include "store/report_name.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <exception>
#include <optional>
#include <system_error>
#include <thread>

#include <sys/stat.h>

namespace Ctl {

namespace {

constexpr int kStored = 200;

// The name of the report in a stored file; empty if the file is not a complete stored report.
std::string NameOfStored(const std::string& fileName) {
    return fileName.starts_with('.')
               ? ""
               : std::string(Sentrel::NameOfStoredFile(fileName).value_or(""));
}

bool IsOfPlugin(std::string_view report, std::string_view plugin) {
    return Sentrel::IsSameReportName(report.substr(0, plugin.size()), plugin) &&
           (report.size() == plugin.size() || report[plugin.size()] == '.');
}

// The link is gone for an instant while a post renews it.
bool HasLink(const std::string& directory, const std::string& name) {
    constexpr int kLooks = 10;
    std::error_code error;  // counts as missing
    for (int look = 0; look < kLooks; ++look) {
        if (std::filesystem::exists(directory + Sentrel::LinkName(name), error)) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return false;
}

void ReadState(PostJudgement& judgement) {
    (void)SilentLogger();  // the faults of the document are among the problems
    Sentrel::Report report;
    try {
        Sentrel::ReportFromJson(Sentrel::ParseReportText(judgement.post.document), report);
    } catch (const std::exception&) {
        return;
    }
    if (!report.name.empty()) {
        judgement.state = StatusName(report.status);
        judgement.age = AgeOf(report.time, std::chrono::system_clock::now());
        judgement.reason = ReasonOf(report.unstructured);
        judgement.metrics = MetricsOf(report.unstructured);
    }
}

}  // namespace

StoredReports::StoredReports(std::string directory)
    : directory(std::move(directory)), before(List(this->directory)) {}

std::map<std::string, StoredReports::Version> StoredReports::List(const std::string& directory) {
    std::map<std::string, Version> versions;
    for (const auto& entry : std::filesystem::directory_iterator(directory)) {
        struct stat status{};
        std::error_code error;  // it may have been removed
        const Time modified = entry.last_write_time(error);
        if (!error && ::lstat(entry.path().c_str(), &status) == 0 && S_ISREG(status.st_mode)) {
            versions.emplace(entry.path().filename(), Version(modified, status.st_ino));
        }
    }
    return versions;
}

std::vector<Post> StoredReports::FindNew() const {
    std::vector<std::pair<Time, std::string>> files;
    for (const auto& [fileName, version] : List(directory)) {
        const auto known = before.find(fileName);
        const bool isNew = known == before.end() || known->second != version;
        if (isNew && !NameOfStored(fileName).empty()) {
            files.emplace_back(version.first, fileName);
        }
    }
    std::sort(files.begin(), files.end());
    std::vector<Post> posts;
    for (const auto& [modified, fileName] : files) {
        try {
            const std::string name = NameOfStored(fileName);
            posts.push_back({.name = name,
                             .document = ReadRegularFile(directory + fileName,
                                                         Sentrel::kMaxReportSize, fileName),
                             .answer = kStored,
                             .isServed = HasLink(directory, name)});
        } catch (const Failure&) {
            continue;  // the ring has replaced it
        }
    }
    return posts;
}

std::vector<Post> FindRefused(std::chrono::system_clock::time_point since) {
    std::vector<Post> posts;
    const std::optional<Sentrel::DaemonState> state = Sentrel::ReadDaemonState();
    for (const Sentrel::RefusedPost& refused :
         state ? state->refusals : std::vector<Sentrel::RefusedPost>{}) {
        if (refused.time >= since) {
            posts.push_back({.name = refused.name, .document = "", .answer = refused.status});
        }
    }
    return posts;
}

PostJudgement JudgePost(Post post, const std::string& plugin) {
    PostJudgement judgement;
    judgement.post = std::move(post);
    const Post& judged = judgement.post;
    judgement.isOfPlugin = IsOfPlugin(judged.name, plugin);
    if (judged.answer == kStored) {
        judgement.problems = FindProblems(judged.document, judged.name);
        ReadState(judgement);
    } else {
        judgement.problems = {RefusalText(judged.answer)};
    }
    return judgement;
}

}  // namespace Ctl
