#include "ctl/report_commands.h"

#include "ctl/api_client.h"
#include "ctl/report_age.h"
#include "ctl/table.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <chrono>
#include <ostream>
#include <stdexcept>

namespace Ctl {

namespace {

using OrderedJson = nlohmann::ordered_json;

constexpr std::string_view kList = "com.korvex.oru.observability.reports.list";
constexpr std::string_view kGet = "com.korvex.oru.observability.reports.get";
constexpr std::string_view kNotFound = "com.korvex.quon.std.errors.not_found";

constexpr Option kJsonOption = {"--json", "", "print JSON instead, in one line"};
constexpr std::array<Option, 4> kListOptions = {{
    {"--full", "", "show the reason of each state too"},
    kJsonOption,
    kApiOption,
    kTokenFileOption,
}};
constexpr std::array<Option, 3> kGetOptions = {{kJsonOption, kApiOption, kTokenFileOption}};
constexpr std::array<Option, 2> kCallOptions = {{kApiOption, kTokenFileOption}};

void WriteJson(const OrderedJson& document, std::ostream& output) {
    output << document.dump(-1, ' ', false, OrderedJson::error_handler_t::replace) << '\n';
}

std::string TextOf(const OrderedJson& object, const char* member) {
    const auto found = object.find(member);
    return found != object.end() && found->is_string() ? found->get<std::string>() : "";
}

// What a report says of itself: nothing is known of it but that it is JSON.
OrderedJson Unstructured(const OrderedJson& report) {
    return OrderedJson::parse(TextOf(report, "unstructured"), nullptr, false);
}

std::string ReasonOf(const OrderedJson& report) {
    const OrderedJson unstructured = Unstructured(report);
    return unstructured.is_object() ? TextOf(unstructured, "reason") : "";
}

void WriteTable(const OrderedJson& reports, bool full, std::ostream& output) {
    if (reports.empty()) {
        output << "No report is stored.\n";
        return;
    }
    const auto now = std::chrono::system_clock::now();
    std::vector<Table::Column> columns = {{"NAME"}, {"STATE"}, {"AGE", Table::Align::Right}};
    if (full) {
        columns.push_back({"REASON"});
    }
    Table table(std::move(columns));
    for (const OrderedJson& report : reports) {
        std::vector<std::string> cells = {TextOf(report, "name"), TextOf(report, "status"),
                                          AgeOf(TextOf(report, "time"), now)};
        if (full) {
            cells.push_back(ReasonOf(report));
        }
        table.Add(std::move(cells));
    }
    table.Write(output);
}

void RunList(const Arguments& arguments, std::ostream& output) {
    OrderedJson parameters = {{"detail", "FULL"}};
    if (!arguments.operands.empty()) {
        parameters["filter"] = {{"names", arguments.operands}};
    }
    const OrderedJson result = ConnectApi(arguments.options).Call(kList, parameters);
    const auto reports = result.find("reports");
    if (reports == result.end() || !reports->is_array()) {
        throw std::runtime_error("the API's answer holds no reports; is --api right?");
    }
    if (arguments.options.Has("--json")) {
        WriteJson(result, output);
        return;
    }
    OrderedJson sorted = *reports;
    std::sort(sorted.begin(), sorted.end(), [](const OrderedJson& a, const OrderedJson& b) {
        return TextOf(a, "name") < TextOf(b, "name");
    });
    WriteTable(sorted, arguments.options.Has("--full"), output);
}

// Asks once more before it says that there is none: the link of a name is gone for an instant
// while it is renewed.
OrderedJson GetReport(const ApiClient& api, const OrderedJson& parameters) {
    try {
        return api.Call(kGet, parameters);
    } catch (const ApiError& error) {
        if (error.Name() != kNotFound) {
            throw;
        }
    }
    return api.Call(kGet, parameters);
}

void WriteReport(const std::string& name, const OrderedJson& report, std::ostream& output) {
    const std::string time = TextOf(report, "time");
    Table facts({{}, {}});
    facts.Add({"Name", name});
    facts.Add({"State", TextOf(report, "status")});
    facts.Add({"Time", time});
    facts.Add({"Age", AgeOf(time, std::chrono::system_clock::now())});
    facts.Write(output);
    const std::string whole =
        Unstructured(report).dump(2, ' ', false, OrderedJson::error_handler_t::replace);
    output << '\n' << PrintableLines(whole) << '\n';
}

void RunGet(const Arguments& arguments, std::ostream& output) {
    const std::string& name = arguments.operands.front();
    OrderedJson report;
    try {
        report = GetReport(ConnectApi(arguments.options), {{"name", name}});
    } catch (const ApiError& error) {
        if (error.Name() == kNotFound) {
            throw std::runtime_error("there is no report \"" + name +
                                     "\"; \"sentrelctl list\" names those that are stored");
        }
        throw;
    }
    if (arguments.options.Has("--json")) {
        WriteJson(report, output);
    } else {
        WriteReport(name, report, output);
    }
}

void RunCall(const Arguments& arguments, std::ostream& output) {
    OrderedJson parameters = OrderedJson::object();
    if (arguments.operands.size() == 2) {
        parameters = OrderedJson::parse(arguments.operands[1], nullptr, false);
        if (!parameters.is_object()) {
            throw std::runtime_error(
                "the parameters are no JSON object; write them as "
                "'{\"name\": \"value\"}'");
        }
    }
    WriteJson(ConnectApi(arguments.options).Call(arguments.operands.front(), parameters), output);
}

constexpr std::array<Command, 3> kCommands = {{
    {"list",
     "list the newest report of each name",
     "Lists the newest report of each name, or of the names given (their case does not matter),\n"
     "with its state and age. --full adds the reason that the report gives for its state.\n"
     "Stored reports that cannot be read are left out; the daemon's log says why.\n",
     "sentrelctl list --full",
     kListOptions,
     {"[NAME...]", 0, 1000000},
     RunList},
    {"get",
     "show one report whole",
     "Shows the newest report of a name: its state, its time and all that it tells.\n",
     "sentrelctl get memory",
     kGetOptions,
     {"NAME", 1, 1},
     RunGet},
    {"call",
     "call any operation of the API",
     "Calls an operation of the API by its full name, with its parameters as a JSON object, and\n"
     "prints its result as JSON. The introspection services tell which operations there are.\n",
     "sentrelctl call com.korvex.quon.std.introspection.service.list",
     kCallOptions,
     {"METHOD [JSON]", 1, 2},
     RunCall},
}};

}  // namespace

std::span<const Command> ReportCommands() { return kCommands; }

}  // namespace Ctl
