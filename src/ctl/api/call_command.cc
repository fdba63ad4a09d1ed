#include "ctl/api/call_command.h"

#include "ctl/api/client.h"
#include "ctl/host/host.h"
#include "ctl/show/failure.h"
#include "ctl/show/json_output.h"

#include <nlohmann/json.hpp>

#include <array>
#include <ostream>

namespace Ctl {

namespace {

using OrderedJson = nlohmann::ordered_json;

constexpr std::array<Option, 2> kOptions = {{kApiOption, kTokenFileOption}};

void RunCall(const Arguments& arguments, std::ostream& output) {
    OrderedJson parameters = OrderedJson::object();
    if (arguments.operands.size() == 2) {
        parameters = OrderedJson::parse(arguments.operands[1], nullptr, false);
        if (!parameters.is_object()) {
            throw Failure("the parameters are not a JSON object",
                          "write them as "
                          "'{\"name\": \"value\"}'");
        }
    }
    Host host = HostOf(arguments.options);
    host.mayBeOffline = false;
    WriteJson(ConnectApi(host).Call(arguments.operands.front(), parameters), output);
}

constexpr std::array<Command, 1> kCommands = {{
    {"call",
     "call any operation of the API",
     "Calls an operation of the API by its full name, with its parameters as a JSON object, and\n"
     "prints its result as JSON. The introspection services list the operations.\n",
     "sentrelctl call com.korvex.quon.std.introspection.service.list",
     kOptions,
     {"METHOD [JSON]", 1, 2, Completes::Operation},
     RunCall},
}};

}  // namespace

std::span<const Command> CallCommands() { return kCommands; }

}  // namespace Ctl
