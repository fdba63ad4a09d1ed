// The daemon is killed again and again while posts arrive: whatever a link names is a whole report,
// no report that was answered is lost, and the next start continues the ring.
#include "support/http_client.h"
#include "support/scenario.h"

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

// What is posted under one name: each report with the next number, of a size that only it has.
struct Reports {
    std::string name;
    int lastSent = 0;
    int lastAnswered = 0;

    std::string Document(int number) const {
        return ReportDocument(name, static_cast<std::size_t>(number) * 37);
    }
    // The number of a report; -1 when it is not one of these, whole.
    int NumberOf(const std::string& document) const {
        const std::size_t shortest = ReportDocument(name).size();
        const auto number = static_cast<int>((document.size() - shortest) / 37);
        return document.size() >= shortest && document == Document(number) ? number : -1;
    }
    bool PostNext(HttpClient& client) {
        const bool isAnswered = client.Post("/" + name, Document(++lastSent)) == 200;
        lastAnswered = isAnswered ? lastSent : lastAnswered;
        return isAnswered;
    }
    void PostUntilTheDaemonIsGone(Answers& answers) {
        HttpClient client;
        try {
            while (PostNext(client)) {
                answers.release();
            }
        } catch (const std::exception&) {
            return;  // connecting is refused
        }
    }
};

class Kill : public ::Test::Scenario {
  protected:
    std::string FileName(const Reports& reports, int index) const {
        return host.ReportPath(reports.name + "-" + std::to_string(index) + ".json").string();
    }

    // Which index a restart has to use: the one after the highest of the stored files.
    int NextIndex(const Reports& reports) const {
        int next = 3;
        while (next > 0 && !std::filesystem::exists(FileName(reports, next - 1))) {
            --next;
        }
        return next % 3;
    }

    void ExpectWholeReports(const Reports& reports) const {
        int newest = 0;
        for (int index = 0; index < 3; ++index) {
            if (std::filesystem::exists(FileName(reports, index))) {
                const int number = reports.NumberOf(ReadFile(FileName(reports, index)));
                EXPECT_GT(number, 0) << FileName(reports, index) << " is not a whole report";
                newest = std::max(newest, number);
            }
        }
        EXPECT_GE(newest, reports.lastAnswered) << reports.name << " lost an answered report";
        if (!host.LinkTarget(reports.name).empty()) {  // killed in the instant without a link
            EXPECT_GE(reports.NumberOf(host.Report(reports.name)), reports.lastAnswered);
        }
    }

    void ExpectTheRingContinues(Reports& reports) const {
        const int expected = NextIndex(reports);
        HttpClient client;
        ASSERT_TRUE(reports.PostNext(client));
        EXPECT_EQ(host.LinkTarget(reports.name), FileName(reports, expected));
        EXPECT_EQ(reports.NumberOf(host.Report(reports.name)), reports.lastAnswered);
    }
};

TEST_F(Kill, LeavesWholeReportsAndARingThatContinues) {
    Answers answers(0);
    Reports all[] = {{"cpu"}, {"mem"}, {"disk"}};
    std::mt19937 random(20'240'506);
    std::uniform_int_distribution<int> postsBeforeKill(1, kMostPostsBeforeAKill);
    ::Test::DaemonOptions options = Options();
    options.logLevel = "3";
    for (int kill = 0; kill < kKills; ++kill) {
        SCOPED_TRACE(kill);
        Start(options);
        std::vector<std::thread> threads;
        for (Reports& reports : all) {
            ExpectTheRingContinues(reports);
        }
        for (Reports& reports : all) {
            threads.emplace_back([&] { reports.PostUntilTheDaemonIsGone(answers); });
        }
        EXPECT_TRUE(WaitForMore(answers, postsBeforeKill(random)));
        daemon->Kill();
        for (std::thread& thread : threads) {
            thread.join();
        }
        for (const Reports& reports : all) {
            ExpectWholeReports(reports);
        }
    }
}

}  // namespace
