// A host's files in a temporary directory, and a check run on them.
#pragma once

#include "sentrel_check/report.h"
#include "sentrel_check/settings.h"
#include "support/temporary_directory.h"

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace Test {

// Path below the root -> contents. A path that ends in "/" is a directory.
using HostFiles = std::map<std::string, std::string>;

class FixtureHost {
  public:
    explicit FixtureHost(const HostFiles& files);
    // Without a slash at its end.
    std::string Root() const;

  private:
    const TemporaryDirectory directory;
};

using CheckOfRoot = std::function<void(const std::string& root, SentrelCheck::Settings& settings,
                                       SentrelCheck::Report& report)>;

struct CheckRow {
    std::string what;
    HostFiles files;
    SentrelCheck::Status status;
    std::string reason;
    std::string settings = "{}";
};

// Runs the check on the files of each row and expects its status and reason, and a document that
// keeps the contract.
void ExpectOutcomes(const CheckOfRoot& check, const std::vector<CheckRow>& rows);

// Expects that the check survives when any of `files` is missing, empty, cut, a directory, or holds
// rubbish, and still reports something that keeps the contract; and that it cannot tell the status
// (unknown) with any of `changes`.
void ExpectSurvivesDamage(const CheckOfRoot& check, const HostFiles& files,
                          const std::vector<HostFiles>& changes = {});

// The report of one run.
SentrelCheck::Report ReportOf(const CheckOfRoot& check, const HostFiles& files,
                              const std::string& settings = "{}");

// `files` with those of `changes` in their place; an empty text there removes a file.
HostFiles With(HostFiles files, const HostFiles& changes);

}  // namespace Test
