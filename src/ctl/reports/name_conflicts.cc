#include "ctl/reports/name_conflicts.h"

#include "store/report_name.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <set>
#include <string_view>
#include <utility>

namespace Ctl {

namespace {

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
                                         " differ only in case: each has its own files, but the "
                                         "API returns both, or an error, for either of them"});
            }
        }
    }

    // Adds each name that equals a file of `name`, whose spelling has its case.
    void FindSharedFiles(const std::string& name) {
        if (const std::string hidden = "." + name; names.contains(hidden)) {
            conflicts.push_back({name, hidden,
                                 "the reports of " + hidden +
                                     " are stored in the files that receive the reports of " +
                                     name + ", such as " + Sentrel::StoredFileName(hidden, 0)});
        }
        for (std::int32_t index = 0; index < Sentrel::kFilesPerName; ++index) {
            FindSharedSlot(name, name + "-" + std::to_string(index));
        }
    }

    void FindSharedSlot(const std::string& name, const std::string& slot) {
        if (names.contains(slot)) {
            conflicts.push_back({name, slot,
                                 "the link of " + slot + " and a stored report of " + name +
                                     " are the same file, " + Sentrel::LinkName(slot)});
        }
        if (const std::string hidden = "." + slot; names.contains(hidden)) {
            conflicts.push_back({name, hidden,
                                 "the link of " + hidden +
                                     " is the file that receives reports of " + name + ", " +
                                     Sentrel::LinkName(hidden)});
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
