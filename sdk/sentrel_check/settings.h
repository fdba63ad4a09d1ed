// A check's own settings: /etc/korvex/sentrel/checks/NAME.json below the host root, one JSON
// object, comments allowed. What is not in it has the check's default.
//
//   {
//       "pressure": {"warning": 50, "critical": 80},    null in place of a number: no such limit
//       "ignore": ["idrac*"]
//   }
#pragma once

#include "sentrel_check/report.h"

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace SentrelCheck {

class SettingsError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// Every call but the destructor throws SettingsError, whose text names the file, what is wrong in
// it and what is expected. A check asks for all its settings first, then calls RefuseUnknown.
class Settings {
  public:
    // No file at `path` is the same as an empty object. A file that can't be read, is no JSON
    // object or is larger than 64 KiB is an error.
    explicit Settings(std::string path);
    ~Settings();
    Settings(const Settings&) = delete;
    Settings& operator=(const Settings&) = delete;

    // Of an object with "warning" and "critical"; one that is left out has its default. An error
    // when the critical limit would be met before the warning.
    Limits GetLimits(const std::string& key, const Limits& defaults, Bad bad);
    bool GetBool(const std::string& key, bool preset);
    std::string GetString(const std::string& key, const std::string& preset);
    // A list of strings; empty when it is left out.
    std::vector<std::string> GetList(const std::string& key);

    // An error when the file has a member that nobody asked for: a name that is written wrongly
    // would leave a default in force that somebody believes to have changed.
    void RefuseUnknown() const;

  private:
    struct Document;

    [[noreturn]] void Fail(const std::string& reason) const;

    std::string path;
    std::unique_ptr<Document> document;
    std::vector<std::string> knownKeys;
};

// Whether one of `patterns` matches the whole of `name`; "*" stands for any characters, "?" for
// one.
bool MatchesAny(const std::vector<std::string>& patterns, const std::string& name);

}  // namespace SentrelCheck
