#include "ctl/plugin_run/reports.h"

#include "ctl/host/daemon_settings.h"
#include "ctl/host/input_file.h"
#include "ctl/reports/check.h"
#include "ctl/reports/source.h"
#include "ctl/show/failure.h"
#include "ctl/show/sizes.h"
#include "intake/report_job.h"
#include "store/report.h"
#include "store/report_name.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <exception>
#include <system_error>

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

// Why a request was not stored, and what to send instead.
std::string ExplainAnswer(const Post& post) {
    switch (post.answer) {
        case 0:
            return "its body broke off, so that nothing is stored; send as many bytes as "
                   "Content-Length says, and read the answer";
        case 206:
            return "its path names no report; post to the URL behind -u with a \"/\" and the name "
                   "added";
        case 400:
            return "its content type is another; send exactly \"Content-Type: application/json\"";
        case 405:
            return "the method is " + post.method + "; use POST";
        case 411:
            return "it has no Content-Length; send one, and no chunks";
        case 413:
            return "it is longer than " + SizeText(Sentrel::kMaxReportSize) + "; send less";
        default:
            return "its name cannot be stored: it may have " +
                   std::string(Sentrel::kReportNameRule) + " only, and must not be too long";
    }
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
            posts.push_back({.name = NameOfStored(fileName),
                             .document = ReadRegularFile(directory + fileName,
                                                         Sentrel::kMaxReportSize, fileName),
                             .answer = kStored});
        } catch (const Failure&) {
            continue;  // the ring has replaced it
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
        judgement.problems = {ExplainAnswer(judged)};
    }
    return judgement;
}

}  // namespace Ctl
