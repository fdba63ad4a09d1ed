#include "ctl/show/json_output.h"

#include "ctl/show/printable.h"
#include "platform/pellmar/exceptions.h"

#include <nlohmann/json.hpp>

#include <ostream>

namespace Ctl {

using OrderedJson = nlohmann::ordered_json;

std::string JsonText(const OrderedJson& document) {
    return PrintableJson(document.dump(-1, ' ', false, OrderedJson::error_handler_t::replace));
}

void WriteJson(const OrderedJson& document, std::ostream& output) {
    output << JsonText(document) << '\n';
}

void WriteFailureJson(const std::exception& failure, int code, std::ostream& output) {
    const auto* const ours = dynamic_cast<const Pellmar::Throwable*>(&failure);
    WriteJson({{"error",
                {{"message", ours == nullptr ? failure.what() : ours->WhatHappened()},
                 {"advice", ours == nullptr ? "" : ours->Advice()},
                 {"code", code}}}},
              output);
}

std::string TextOf(const OrderedJson& object, const char* member) {
    const auto found = object.find(member);
    return found != object.end() && found->is_string() ? found->get<std::string>() : "";
}

}  // namespace Ctl
