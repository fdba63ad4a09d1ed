// The daemon is killed again and again while posts arrive: whatever a link names is a whole report,
// no report that was answered is lost, and the next start continues the ring.
#include "support/http_client.h"
#include "system/scenario.h"

#include <gtest/gtest.h>

#include <chrono>
#include <exception>
#include <filesystem>
#include <random>
#include <semaphore>
#include <string>
#include <thread>
#include <vector>

namespace {

using ::Test::HttpClient;
using ::Test::ReadFile;
using ::Test::ReportDocument;

constexpr int kKills = 20;
constexpr int kMostPostsBeforeAKill = 200;

// One for each answered post of any name, for the thread that kills.
using Answers = std::counting_semaphore<>;

// Blocks until `wanted` more posts are answered. False when one takes a minute.
bool WaitForMore(Answers& answers, int wanted) {
    while (wanted > 0 && answers.try_acquire_for(std::chrono::minutes(1))) {
        --wanted;
    }
    return wanted == 0;
}

// The report number `sequence` of a name: of a size that only this number has.
std::string Document(const std::string& name, int sequence) {
    return ReportDocument(name, static_cast<std::size_t>(sequence) * 37);
}

// Its number; -1 when it is not one of these reports, whole.
int SequenceOf(const std::string& name, const std::string& document) {
    const std::size_t shortest = ReportDocument(name).size();
    if (document.size() < shortest || (document.size() - shortest) % 37 != 0) {
        return -1;
    }
    const auto sequence = static_cast<int>((document.size() - shortest) / 37);
    return document == Document(name, sequence) ? sequence : -1;
}

// Posts reports of one name, each with the next number, until the daemon is gone.
class Reporter {
  public:
    Reporter(std::string name, Answers& answers) : name(std::move(name)), answers(answers) {}

    void Begin() {
        thread = std::thread([this] { PostUntilGone(); });
    }
    void Join() { thread.join(); }
    const std::string& Name() const { return name; }
    int LastAnswered() const { return lastAnswered; }
    int Next() { return ++lastSent; }
    void Answered(int sequence) { lastAnswered = sequence; }

  private:
    void PostUntilGone() {
        HttpClient client;
        try {
            for (;;) {
                const int sequence = Next();
                if (client.Post("/" + name, Document(name, sequence)) != 200) {
                    return;
                }
                Answered(sequence);
                answers.release();
            }
        } catch (const std::exception&) {
            return;  // connecting is refused: the daemon is gone
        }
    }

    const std::string name;
    Answers& answers;
    std::thread thread;
    int lastSent = 0;
    int lastAnswered = 0;
};

class Kill : public Scenario {
  protected:
    // What a restart has to take up: the highest index of the stored files; -1 without any.
    int HighestIndex(const std::string& name) const {
        for (int index = 2; index >= 0; --index) {
            if (std::filesystem::exists(
                    host.ReportPath(name + "-" + std::to_string(index) + ".json"))) {
                return index;
            }
        }
        return -1;
    }

    // The newest number that a stored file of the name has.
    int NewestStored(const std::string& name) const {
        int newest = 0;
        for (int index = 0; index <= HighestIndex(name); ++index) {
            const std::string file = name + "-" + std::to_string(index) + ".json";
            const int sequence = SequenceOf(name, ReadFile(host.ReportPath(file)));
            EXPECT_GT(sequence, 0) << file << " is not a whole report";
            newest = std::max(newest, sequence);
        }
        return newest;
    }

    void ExpectWholeReports(const Reporter& reporter) const {
        const std::string& name = reporter.Name();
        EXPECT_GE(NewestStored(name), reporter.LastAnswered())
            << name << " lost an answered report";
        if (host.LinkTarget(name).empty()) {
            return;  // killed in the instant without a link
        }
        EXPECT_GE(SequenceOf(name, host.Report(name)), reporter.LastAnswered()) << name;
    }

    void ExpectTheRingContinues(Reporter& reporter) const {
        const std::string& name = reporter.Name();
        const int expected = (HighestIndex(name) + 1) % 3;
        const int sequence = reporter.Next();
        ASSERT_EQ(HttpClient().Post("/" + name, Document(name, sequence)), 200);
        reporter.Answered(sequence);
        EXPECT_EQ(host.LinkTarget(name),
                  host.ReportPath(name + "-" + std::to_string(expected) + ".json").string());
        EXPECT_EQ(SequenceOf(name, host.Report(name)), sequence);
    }
};

TEST_F(Kill, LeavesWholeReportsAndARingThatContinues) {
    Answers answers(0);
    std::vector<Reporter> reporters;
    for (const char* const name : {"cpu", "mem", "disk"}) {
        reporters.emplace_back(name, answers);
    }
    std::mt19937 random(20'240'506);
    std::uniform_int_distribution<int> postsBeforeKill(1, kMostPostsBeforeAKill);
    ::Test::DaemonOptions options = Options();
    options.logLevel = "3";
    for (int kill = 0; kill < kKills; ++kill) {
        SCOPED_TRACE(kill);
        Start(options);
        for (Reporter& reporter : reporters) {
            ExpectTheRingContinues(reporter);
        }
        for (Reporter& reporter : reporters) {
            reporter.Begin();
        }
        EXPECT_TRUE(WaitForMore(answers, postsBeforeKill(random)));
        daemon->Kill();
        for (Reporter& reporter : reporters) {
            reporter.Join();
            ExpectWholeReports(reporter);
        }
    }
}

}  // namespace
