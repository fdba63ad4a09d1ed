#include "ctl/name_conflicts.h"

#include "store/report_name.h"

#include <algorithm>
#include <map>
#include <set>
#include <string_view>

namespace Ctl {

namespace {

constexpr int kFilesPerName = 3;

std::string Folded(std::string_view name) {
    std::string folded(name);
    std::transform(folded.begin(), folded.end(), folded.begin(), Sentrel::AsciiUpper);
    return folded;
}

using FoldedNames = std::map<std::string, std::vector<std::string>>;

class Finder {
  public:
    explicit Finder(const std::vector<std::string>& given) {
        for (const std::string& name : std::set<std::string>(given.begin(), given.end())) {
            names[Folded(name)].push_back(name);
        }
    }

    std::vector<NameConflict> Find() {
        for (const auto& [folded, spellings] : names) {
            for (std::size_t next = 1; next < spellings.size(); ++next) {
                conflicts.push_back({spellings[0], spellings[next],
                                     spellings[0] + " and " + spellings[next] +
                                         " differ in case alone: they are one report, under the "
                                         "name that is posted first"});
            }
            FindSharedFiles(spellings.front());
        }
        return std::move(conflicts);
    }

  private:
    // Each name that stands for files of `name`.
    void FindSharedFiles(const std::string& name) {
        Match(name, "." + name, [](const std::string& one, const std::string& other) {
            return "the reports of " + other + " are stored in the files that those of " + one +
                   " arrive in, such as ." + one + "-0.json";
        });
        for (int index = 0; index < kFilesPerName; ++index) {
            const std::string suffix = "-" + std::to_string(index);
            Match(name, name + suffix, [&](const std::string& one, const std::string& other) {
                return "the link of " + other + " and a stored report of " + one +
                       " are one file, " + one + suffix + ".json";
            });
            Match(name, "." + name + suffix, [&](const std::string& one, const std::string& other) {
                return "the link of " + other + " is the file that reports of " + one +
                       " arrive in, ." + one + suffix + ".json";
            });
        }
    }

    template <typename Sentence>
    void Match(const std::string& name, const std::string& wanted, const Sentence& sentence) {
        const auto found = names.find(Folded(wanted));
        if (found == names.end()) {
            return;
        }
        const std::string& other = found->second.front();
        // The daemon knows a name in any case, and its files have that of its first post.
        const char* const condition = other == wanted ? "" : ", whenever their case is the same";
        conflicts.push_back({name, other, sentence(name, other) + condition});
    }

    FoldedNames names;  // the spellings of each name, sorted
    std::vector<NameConflict> conflicts;
};

}  // namespace

std::vector<NameConflict> FindNameConflicts(const std::vector<std::string>& names) {
    return Finder(names).Find();
}

}  // namespace Ctl
