// How often the tool asks the API for what: the real client against an API in the test's hands.
#include "ctl/reports/source.h"

#include "ctl/reports/state.h"
#include "support/host_directory.h"
#include "support/report_listener.h"
#include "support/sanitizers.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstddef>
#include <future>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Test {
namespace {

using Json = nlohmann::json;
using Names = std::vector<std::string>;

// Names and texts of one answer; a brief one has no texts.
using Listing = std::map<std::string, std::string>;

// In a listing's text it stands for 48 MiB: an answer of that size may have left out others.
constexpr std::string_view kLarge = "LARGE";

std::string AnswerOf(const Listing& listing, bool isFull) {
    Json reports = Json::array();
    for (const auto& [name, text] : listing) {
        Json report = {{"name", name}, {"time", "2024-03-05T14:07:09.000Z"}};
        if (isFull) {
            report["status"] = "OK";
            report["unstructured"] = text;
        }
        reports.push_back(std::move(report));
    }
    std::string body =
        Json{{"jsonrpc", "2.0"}, {"id", 1}, {"result", {{"reports", reports}}}}.dump();
    if (const std::size_t at = body.find(kLarge); at != std::string::npos) {
        body.replace(at, kLarge.size(), std::size_t{48} << 20, '1');
    }
    return "HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

TEST(ReportSource, CallsTheApiTwiceAndAgainOnlyForMissingReports) {
    const HostDirectory directory;
    const std::string token = directory.Base() + "token";
    WriteFile(token, "a.b.c\n");
    const std::string large(kLarge);
    const Listing all = {{"bad", ""}, {"cpu", ""}, {"disk", ""}};
    const struct {
        Names asked;
        std::vector<Listing> full;       // the answers after the brief one
        std::vector<Names> namesOfFull;  // that are asked for
        Names unread;
    } rows[] = {
        {{}, {{{"cpu", "{}"}, {"disk", "{}"}}}, {{}}, {"bad"}},
        {{"CPU"}, {{{"cpu", "{}"}}}, {{"CPU"}}, {"bad", "disk"}},
        {{"cpu"}, {{}, {{"cpu", "{}"}}}, {{"cpu"}, {"cpu"}}, {"bad", "disk"}},
        {{}, {{{"cpu", large}}, {{"disk", large}}, {}}, {{}, {"bad", "disk"}, {"bad"}}, {"bad"}},
    };
    for (const auto& row : rows) {
        if (kHasAddressSanitizer && row.full.size() > 2) {
            continue;  // minutes for texts of that size
        }
        ReportListener api;
        const Ctl::Host host{.now = {},
                             .reportDirectory = "/nonexistent/",
                             .apiUrl = "http://127.0.0.1:" + std::to_string(api.Port()),
                             .tokenFile = token};
        auto reports =
            std::async(std::launch::async, [&] { return Ctl::ReadReports(host, row.asked); });
        const Json brief = Json::parse(api.Receive().body)["params"];
        EXPECT_EQ(brief, Json({{"detail", "BRIEF"}}));
        api.AnswerBytes(AnswerOf(all, false));
        for (std::size_t index = 0; index < row.full.size(); ++index) {
            const Json asked = Json::parse(api.Receive().body)["params"];
            EXPECT_EQ(asked["detail"], "FULL");
            const Json names = asked.value("/filter/names"_json_pointer, Json::array());
            EXPECT_EQ(names.get<Names>(), row.namesOfFull[index]);
            api.AnswerBytes(AnswerOf(row.full[index], true));
        }
        Names unread;
        for (const Ctl::StoredReport& report : reports.get()) {
            if (report.status.empty()) {
                unread.push_back(report.name);
            }
        }
        EXPECT_EQ(unread, row.unread);
    }
}

}  // namespace
}  // namespace Test
