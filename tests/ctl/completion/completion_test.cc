// What shells offer: the candidates that the tool names, and each shell's file in the shell itself,
// where it is installed.
#include "support/descriptors.h"
#include "support/stored_report.h"
#include "support/tool_host.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

namespace Test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::UnorderedElementsAre;
using Lines = std::vector<std::string>;

// The first column of each line.
Lines WordsOf(const std::string& text) {
    Lines words = LinesOf(text);
    for (std::string& word : words) {
        word.erase(std::min(word.find('\t'), word.size()));
    }
    return words;
}

class Completion : public ToolHost {
  protected:
    Completion() {
        for (const char* name : {"memory", "Mem.swap", "cpu"}) {
            StoreReport(ReportDirectory(), name, "{}");
        }
        WriteFile(host.Root() + "/usr/lib/korvex/sentrel/plugins/bin/mine", "");
    }

    Lines Complete(Lines words) const {
        words.insert(words.begin(), "__complete");
        return WordsOf(OutputOf(words));
    }

    // What a shell writes when it runs the script, in which sentrelctl is the tool on this host.
    Lines Shell(const std::string& shell, const std::string& script) const {
        const std::string folder = host.Base() + "bin";
        std::filesystem::create_directories(folder);
        std::filesystem::remove(folder + "/sentrelctl");
        std::filesystem::create_symlink(SENTRELCTL_PATH, folder + "/sentrelctl");
        WriteFile(host.Base() + "script", script);
        const std::string command = "cd " + host.Base() + " && SENTREL_ROOT=" + host.Root() +
                                    " HOME=" + host.Base() + " PATH=" + folder + ":$PATH " + shell +
                                    " ./script 2>&1";
        return WordsOf(OutputOfShell(command));
    }
};

const std::string kFiles = SENTREL_COMPLETIONS;

TEST_F(Completion, OffersEveryPossibleWord) {
    const struct {
        Lines words;
        Lines candidates;
    } rows[] = {
        {{"li"}, {"list"}},
        {{"to"}, {"token"}},
        {{"history", "--"}, {"--json", "--reports", "--root", "--help"}},
        {{"history", "--json", "--r"}, {"--reports", "--root"}},
        {{"history", "--reports", "/", "--re"}, {}},
        {{"get", "m"}, {"memory", "Mem.swap"}},
        {{"get", "cpu", "m"}, {"memory", "Mem.swap"}},
        {{"list", "cpu", "c"}, {"cpu"}},
        {{"list", "--state", "e"}, {"ERROR"}},
        {{"list", "--state=e"}, {"--state=ERROR"}},
        {{"list", "--state", "--fu"}, {}},
        {{"post", "cpu", ""}, {":file"}},
        {{"list", "--reports", "/x"}, {":directory"}},
        {{"plugin", "run", ""}, {"mine"}},
        {{"plugin", "new", "x", "--language", ""}, {"sh", "python", "cpp"}},
        {{"config", "get", "sentrel.http"}, {"sentrel.http_port"}},
        {{"config", "set", "mine.frequency", ""}, {"fast", "medium", "slow"}},
        {{"config", "set", "mine.enabled", "f"}, {"false"}},
        {{"config", "set", "sentrel.http_port", ""}, {"9996"}},
        {{"token", "issue", "--entitlement", ""}, {"observability.reports.read"}},
        {{"list", "--columns", "name,st"}, {"name,state"}},
        {{"list", "--columns=name,st"}, {"--columns=name,state"}},
        {{"help", "to"}, {"token"}},
        {{"he"}, {"help"}},
        {{"--v"}, {"--version"}},
        {{"silence", "m"}, {"memory", "Mem.swap"}},
        {{"call", "com.korvex.oru.observability.reports."},
         {"com.korvex.oru.observability.reports.list", "com.korvex.oru.observability.reports.get"}},
        {{"--root", host.Base(), "get", ""}, {}},
        {{"get", "--reports", host.Base(), ""}, {}},
        {{}, {}},
    };
    for (const auto& row : rows) {
        EXPECT_THAT(Complete(row.words), testing::UnorderedElementsAreArray(row.candidates))
            << testing::PrintToString(row.words);
    }
    EXPECT_THAT(OutputOf({"--help"}), Not(testing::HasSubstr("__complete")));
}

TEST_F(Completion, AsksTheApiIfTheDirectoryCannotBeRead) {
    OutputOf({"token", "init"});
    StartDaemon();
    EXPECT_THAT(Complete({"get", "--reports", "/none", "c"}), ElementsAre("cpu"));
    EXPECT_THAT(Complete({"get", "--reports", "/none", "--api", "http://127.0.0.1:1", "c"}),
                IsEmpty());
}

TEST_F(Completion, WorksInBash) {
    const std::string ask =
        "COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _sentrelctl; "
        "echo \"${COMPREPLY[@]}\"\n";
    EXPECT_THAT(
        Shell("bash", "source " + kFiles + "/sentrelctl.bash\n" + "COMP_WORDS=(sentrelctl li); " +
                          ask + "COMP_WORDS=(sentrelctl get me); " + ask +
                          "COMP_WORDS=(sentrelctl plugin run ''); " + ask +
                          "COMP_WORDS=(sentrelctl list --state = ER); " + ask),
        ElementsAre("list", testing::AnyOf("memory Mem.swap", "Mem.swap memory"), "mine", "ERROR"));
}

TEST_F(Completion, WorksInZsh) {
    if (!std::filesystem::exists("/usr/bin/zsh")) {
        GTEST_SKIP() << "there is no zsh";
    }
    // what the shell's own functions do with the candidates is theirs
    const std::string ask =
        "PREFIX=$words[-1] CURRENT=$#words; source " + kFiles + "/_sentrelctl | sort\n";
    EXPECT_THAT(
        Shell("zsh",
              "_describe() { print -l -- ${${(P)4}%%:*} }\n"
              "_files() { print -- files $* }\ncompset() { : }\n"
              "words=(sentrelctl li); " +
                  ask + "words=(sentrelctl get m); " + ask + "words=(sentrelctl plugin run ''); " +
                  ask + "words=(sentrelctl list --reports ''); " + ask),
        UnorderedElementsAre("list", "Mem.swap", "memory", "mine", "files -/"));
}

TEST_F(Completion, WorksInFish) {
    if (!std::filesystem::exists("/usr/bin/fish")) {
        GTEST_SKIP() << "there is no fish";
    }
    const std::string ask = "complete --do-complete ";
    EXPECT_THAT(Shell("fish --no-config", "source " + kFiles + "/sentrelctl.fish\n" + ask +
                                              "'sentrelctl li'\n" + ask + "'sentrelctl get me'\n" +
                                              ask + "'sentrelctl plugin run '\n"),
                UnorderedElementsAre("list", "Mem.swap", "memory", "mine"));
}

}  // namespace
}  // namespace Test
