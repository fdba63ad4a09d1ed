// The file: {"silences": [{"name": "raid", "until": "2024-03-05T14:00:00Z", "because": "TEXT"}]}
#include "ctl/reports/silence.h"

#include "ctl/host/input_file.h"
#include "ctl/show/failure.h"
#include "ctl/show/json_output.h"
#include "ctl/show/times.h"
#include "platform/sys/atomic_file.h"
#include "platform/sys/host_root.h"
#include "store/report_name.h"

#include <nlohmann/json.hpp>

#include <cerrno>
#include <cstddef>
#include <optional>
#include <sstream>
#include <system_error>

#include <sys/stat.h>
#include <unistd.h>

namespace Ctl {

namespace {

using OrderedJson = nlohmann::ordered_json;

constexpr std::size_t kMaxBytes = std::size_t{1} << 20;
constexpr mode_t kMode = 0640;

std::optional<OrderedJson> ParseSilences(const std::string& text) {
    const OrderedJson document = OrderedJson::parse(text, nullptr, false);
    const auto list = document.is_object() ? document.find("silences") : document.end();
    return list != document.end() && list->is_array() ? std::optional(*list) : std::nullopt;
}

}  // namespace

std::vector<Silence> ReadSilences(std::chrono::system_clock::time_point now) {
    const std::string path = Sys::HostPath(kSilenceFile);
    struct stat status{};
    if (::stat(path.c_str(), &status) != 0 && errno == ENOENT) {
        return {};
    }
    const auto list = ParseSilences(ReadRegularFile(path, kMaxBytes, "the silences"));
    if (!list) {
        throw Failure(path + " is not a list of silences", "remove it");
    }
    const auto second = std::chrono::floor<std::chrono::seconds>(now);  // as the file has them
    std::vector<Silence> silences;
    for (const OrderedJson& entry : *list) {
        const std::string name = entry.is_object() ? TextOf(entry, "name") : "";
        const auto age = name.empty() ? std::nullopt : AgeOf(TextOf(entry, "until"), second);
        if (age && *age < std::chrono::seconds(0)) {
            silences.push_back({name, second - *age, TextOf(entry, "because")});
        }
    }
    return silences;
}

void WriteSilences(const std::vector<Silence>& silences) {
    OrderedJson list = OrderedJson::array();
    for (const Silence& silence : silences) {
        list.push_back({{"name", silence.name},
                        {"until", UtcText(silence.until)},
                        {"because", silence.because}});
    }
    std::ostringstream text;
    WriteJson({{"silences", std::move(list)}}, text);
    const std::string path = Sys::HostPath(kSilenceFile);
    try {
        Sys::ReplaceFile(path, text.str(), kMode);
    } catch (const std::system_error& error) {
        throw Failure(error.what(), ::geteuid() == 0 ? "" : "run this as root");
    }
    struct stat reports{};
    if (::stat(Sys::HostPath(Sentrel::kReportDirectory).c_str(), &reports) == 0 &&
        ::lchown(path.c_str(), static_cast<uid_t>(-1), reports.st_gid) != 0) {
        throw Failure("cannot give " + path + " to the group of the report directory", errno, "");
    }
}

std::string SilenceText(const Silence& silence, std::chrono::system_clock::time_point now) {
    constexpr std::size_t kDay = 10;
    constexpr std::size_t kTime = 5;
    const std::string until = UtcText(silence.until);
    const std::string day = until.substr(0, kDay);
    return "silenced until " + (day == UtcText(now).substr(0, kDay) ? "" : day + " ") +
           until.substr(kDay + 1, kTime) + "Z: " + silence.because;
}

}  // namespace Ctl
