#include "ctl/name_conflicts.h"

#include "store/report_name.h"

#include <algorithm>
#include <map>
#include <set>
#include <string_view>
#include <utility>

namespace Ctl {

namespace {

constexpr int kFilesPerName = 3;

std::string Folded(std::string_view name) {
    std::string folded(name);
    std::transform(folded.begin(), folded.end(), folded.begin(), Sentrel::AsciiUpper);
    return folded;
}

class Finder {
  public:
    explicit Finder(const std::vector<std::string>& given) : names(given.begin(), given.end()) {}

    std::vector<NameConflict> Find() {
        FindSameButForCase();
        for (const std::string& name : names) {
            FindSharedFiles(name);
        }
        return std::move(conflicts);
    }

  private:
    void FindSameButForCase() {
        std::map<std::string, const std::string*> spellings;
        for (const std::string& name : names) {
            const auto [known, isNew] = spellings.emplace(Folded(name), &name);
            if (!isNew) {
                conflicts.push_back({*known->second, name,
                                     *known->second + " and " + name +
                                         " differ in case alone: each has its files, but whoever "
                                         "asks the API for one of them gets both, or an error"});
            }
        }
    }

    // Each name that stands for files of `name`, whose case is that of the name.
    void FindSharedFiles(const std::string& name) {
        Match(name, "." + name,
              "the reports of ." + name + " are stored in the files that those of " + name +
                  " arrive in, such as ." + name + "-0.json");
        for (int index = 0; index < kFilesPerName; ++index) {
            const std::string one = name + "-" + std::to_string(index);
            Match(name, one,
                  "the link of " + one + " and a stored report of " + name + " are one file, " +
                      one + ".json");
            Match(name, "." + one,
                  "the link of ." + one + " is the file that reports of " + name + " arrive in, ." +
                      one + ".json");
        }
    }

    void Match(const std::string& name, const std::string& other, std::string why) {
        if (names.contains(other)) {
            conflicts.push_back({name, other, std::move(why)});
        }
    }

    const std::set<std::string> names;
    std::vector<NameConflict> conflicts;
};

}  // namespace

std::vector<NameConflict> FindNameConflicts(const std::vector<std::string>& names) {
    return Finder(names).Find();
}

}  // namespace Ctl
