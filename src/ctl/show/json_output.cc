#include "ctl/show/json_output.h"

#include "ctl/show/printable.h"

#include <nlohmann/json.hpp>

#include <ostream>

namespace Ctl {

using OrderedJson = nlohmann::ordered_json;

void WriteJson(const OrderedJson& document, std::ostream& output) {
    output << PrintableJson(document.dump(-1, ' ', false, OrderedJson::error_handler_t::replace))
           << '\n';
}

void WriteFailureJson(const std::string& message, const std::string& advice, int code,
                      std::ostream& output) {
    WriteJson({{"error", {{"message", message}, {"advice", advice}, {"code", code}}}}, output);
}

std::string TextOf(const OrderedJson& object, const char* member) {
    const auto found = object.find(member);
    return found != object.end() && found->is_string() ? found->get<std::string>() : "";
}

}  // namespace Ctl
