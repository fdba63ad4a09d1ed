#include "ctl/plugins/wrapped.h"

#include "platform/json/bounded_json.h"
#include "platform/sys/host_root.h"
#include "platform/sys/read_file.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <system_error>

#include <string.h>
#include <sys/stat.h>

namespace Ctl {

namespace {

constexpr std::size_t kMaxBytes = 64 * 1024;

bool IsWrapped(const SurveyedPlugin& plugin) {
    std::error_code error;
    const std::filesystem::path target = std::filesystem::read_symlink(plugin.location, error);
    return !error && target.filename() == "wrap";
}

// The program of the command; empty, with the reason, if the configuration names none.
std::string ReadProgram(const std::string& path, std::string& problem) {
    std::string text;
    nlohmann::json document;
    Json::JsonError error;
    if (const int number = Sys::ReadRegularFile(path, kMaxBytes + 1, text); number != 0) {
        problem = ::strerrordesc_np(number);
    } else if (!Json::Parse(text, {kMaxBytes, Json::Comments::Allowed, Json::Root::Object},
                            document, error)) {
        problem = error.Text();
    } else if (const auto command = document.find("command");
               command == document.end() || !command->is_array() || command->empty() ||
               !command->front().is_string()) {
        problem = "it has no command";
    } else {
        return command->front().get<std::string>();
    }
    return "";
}

}  // namespace

std::vector<Finding> CheckWrapped(const std::string& subject, const SurveyedPlugin& plugin) {
    if (!IsWrapped(plugin)) {
        return {};
    }
    const std::string path = Sys::HostPath(kWrapDirectory + plugin.Name() + ".json");
    std::string problem;
    const std::string program = ReadProgram(path, problem);
    if (program.empty()) {
        return {{Severity::Error, subject, "cannot use " + path + ": " + problem,
                 "fix the file, or remove the plugin: rm " + plugin.location}};
    }
    struct stat status{};
    if (::stat(program.c_str(), &status) != 0) {
        return {{Severity::Error, subject,
                 "cannot run " + program + ": " + ::strerrordesc_np(errno),
                 "install the check, or correct " + path}};
    }
    if ((status.st_mode & (S_ISUID | S_ISGID)) != 0) {
        return {{Severity::Warning, subject,
                 program + " is setuid or setgid, which has no effect in the unit's sandbox",
                 "use a check that works as an unprivileged user"}};
    }
    return {};
}

std::vector<Finding> CheckUnusedWraps(const PluginSurvey& survey) {
    std::vector<Finding> findings;
    std::error_code error;  // then the directory does not exist
    for (const auto& file :
         std::filesystem::directory_iterator(Sys::HostPath(kWrapDirectory), error)) {
        const std::string name = file.path().stem();
        const bool isUsed = std::any_of(
            survey.entries.begin(), survey.entries.end(),
            [&](const auto& plugin) { return plugin.Name() == name && IsWrapped(plugin); });
        if (file.path().extension() == ".json" && !isUsed) {
            findings.push_back({Severity::Warning, "plugin " + name,
                                file.path().string() + " configures a plugin that is missing",
                                "ln -s ../../wrap " + Sys::HostPath(Sentrel::kPluginDirectory) +
                                    name + ", or remove the file"});
        }
    }
    return findings;
}

}  // namespace Ctl
