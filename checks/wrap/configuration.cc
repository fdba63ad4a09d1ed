#include "checks/wrap/configuration.h"

#include "platform/json/bounded_json.h"
#include "platform/sys/owned_fd.h"
#include "platform/sys/read_file.h"

#include <nlohmann/json.hpp>

#include <cerrno>
#include <charconv>
#include <stdexcept>
#include <string_view>

#include <string.h>
#include <sys/stat.h>

namespace Wrap {

namespace {

using SentrelCheck::Status;

constexpr std::size_t kMaxBytes = 64 * 1024;
constexpr int kMaxSeconds = 3600;
constexpr int kMaxExitStatus = 255;

[[noreturn]] void Fail(const std::string& path, const std::string& fault,
                       const std::string& remedy) {
    throw std::runtime_error(path + ": " + fault + "; " + remedy);
}

void RequireOwner(const std::string& path, const struct stat& status, uid_t owner) {
    if (status.st_uid != owner || (status.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        Fail(path,
             "must belong to root and be writable by nobody else, because it names the command to "
             "run",
             "run: chown root: " + path + " && chmod go-w " + path);
    }
}

std::string ReadText(const std::string& path, uid_t owner) {
    const std::string directory = path.substr(0, path.rfind('/'));
    struct stat status{};
    Sys::OwnedFd file;
    std::string text;
    if (int error = Sys::OpenRegularFile(path, file);
        error != 0 || (error = Sys::ReadAll(file.Get(), kMaxBytes + 1, text)) != 0) {
        Fail(path, error == ENXIO ? "not a regular file" : ::strerrordesc_np(error),
             "create it with: sentrelctl plugin new NAME --wrap -- COMMAND");
    }
    if (::stat(directory.c_str(), &status) != 0) {
        Fail(directory, ::strerrordesc_np(errno), "check its permissions");
    }
    RequireOwner(directory, status, owner);
    if (::fstat(file.Get(), &status) != 0) {
        Fail(path, ::strerrordesc_np(errno), "check its permissions");
    }
    RequireOwner(path, status, owner);
    return text;
}

// Reads the members of the document one by one; each error names the file.
class Reader {
  public:
    explicit Reader(const std::string& path) : path(path) {}

    void Take(const std::string& name, const nlohmann::json& value) {
        if (name == "command") {
            TakeCommand(value);
        } else if (name == "timeLimit") {
            Require(value.is_number_integer() && value >= 1 && value <= kMaxSeconds,
                    "\"timeLimit\" must be a whole number of seconds from 1 to 3600");
            configuration.timeLimit = std::chrono::seconds(value.get<int>());
        } else if (name == "environment") {
            TakeEnvironment(value);
        } else if (name == "exitStatus") {
            TakeExitStatus(value);
        } else {
            Require(false, "unknown member \"" + name +
                               "\"; known: command, timeLimit, environment, exitStatus");
        }
    }
    Configuration Finish() {
        Require(!configuration.command.empty(), "\"command\" is missing");
        return std::move(configuration);
    }

  private:
    void Require(bool isGood, const std::string& fault) const {
        if (!isGood) {
            Fail(path, fault, "correct this file");
        }
    }

    void TakeCommand(const nlohmann::json& value) {
        constexpr const char* kExpected =
            "\"command\" must be a list of strings, the first an absolute path";
        Require(value.is_array() && !value.empty(), kExpected);
        for (const nlohmann::json& argument : value) {
            Require(argument.is_string(), kExpected);
            configuration.command.push_back(argument.get<std::string>());
        }
        Require(configuration.command.front().starts_with('/'), kExpected);
    }

    void TakeEnvironment(const nlohmann::json& value) {
        constexpr const char* kExpected = "\"environment\" must be an object of strings";
        Require(value.is_object(), kExpected);
        for (const auto& [name, text] : value.items()) {
            Require(text.is_string() && !name.empty() && name.find('=') == std::string::npos,
                    kExpected);
            configuration.environment[name] = text.get<std::string>();
        }
    }

    void TakeExitStatus(const nlohmann::json& value) {
        const std::map<std::string, Status> words{{"OK", Status::Ok},
                                                  {"WARNING", Status::Warning},
                                                  {"ERROR", Status::Error},
                                                  {"NONE", Status::None},
                                                  {"UNKNOWN", Status::Unknown}};
        constexpr const char* kExpected =
            "\"exitStatus\" must map exit statuses from 0 to 255 to OK, WARNING, ERROR, NONE or "
            "UNKNOWN";
        Require(value.is_object(), kExpected);
        for (const auto& [key, word] : value.items()) {
            int number = -1;
            const char* const end = key.data() + key.size();
            const auto [rest, error] = std::from_chars(key.data(), end, number);
            Require(error == std::errc() && rest == end && number >= 0 &&
                        number <= kMaxExitStatus && word.is_string() &&
                        words.contains(word.get<std::string>()),
                    kExpected);
            configuration.exitStatus[number] = words.at(word.get<std::string>());
        }
    }

    const std::string& path;
    Configuration configuration;
};

}  // namespace

Configuration ReadConfiguration(const std::string& path, uid_t owner) {
    const std::string text = ReadText(path, owner);
    nlohmann::json document;
    Json::JsonError error;
    if (!Json::Parse(text, {kMaxBytes, Json::Comments::Allowed, Json::Root::Object}, document,
                     error)) {
        Fail(path, "line " + std::to_string(error.line) + ": " + error.Text(), "correct this file");
    }
    Reader reader(path);
    for (const auto& [name, value] : document.items()) {
        reader.Take(name, value);
    }
    return reader.Finish();
}

}  // namespace Wrap
