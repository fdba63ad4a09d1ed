// A check's own settings: /etc/korvex/sentrel/checks/NAME.json below the host root, one JSON
// object, comments allowed. Missing members have the check's defaults.
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

// All calls but the destructor throw SettingsError, whose text names the file, the fault and the
// expected value. A check reads all its settings first, then calls RefuseUnknown.
class Settings {
  public:
    // A missing file at `path` is the same as an empty object. A file that cannot be read, is not a
    // JSON object or is larger than 64 KiB is an error.
    explicit Settings(std::string path);
    ~Settings();
    Settings(const Settings&) = delete;
    Settings& operator=(const Settings&) = delete;

    // An object with "warning" and "critical"; a missing one has its default. It is an error if the
    // critical limit would be reached before the warning.
    Limits GetLimits(const std::string& key, const Limits& defaults, Bad bad);
    bool GetBool(const std::string& key, bool preset);
    std::string GetString(const std::string& key, const std::string& preset);
    // A list of strings; empty if absent.
    std::vector<std::string> GetList(const std::string& key);

    // Fails if the file has a member that no call has read: otherwise a misspelt name would
    // silently leave the default in force.
    void RefuseUnknown() const;

  private:
    struct Document;

    [[noreturn]] void Fail(const std::string& reason) const;

    std::string path;
    std::unique_ptr<Document> document;
    std::vector<std::string> knownKeys;
};

// Whether one of `patterns` matches the whole `name`; "*" matches any characters, "?" a single one.
bool MatchesAny(const std::vector<std::string>& patterns, const std::string& name);

}  // namespace SentrelCheck
