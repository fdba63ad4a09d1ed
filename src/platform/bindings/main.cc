// Run by the build. Writes to standard output the metadata file of the reports service or, with
// "openrpc VERSION", the OpenRPC description of the whole API.
#include "platform/bindings/metadata_writer.h"
#include "platform/bindings/openrpc_writer.h"
#include "platform/bindings/reports_definition.h"
#include "platform/bindings/runtime_definition.h"

#include <exception>
#include <iostream>
#include <string>
#include <vector>

namespace {

std::string Document(const std::vector<std::string>& arguments) {
    const Quon::Definition::Service reports =
        Com::Korvex::Oru::Observability::ReportsSvc::Describe();
    if (arguments.size() != 2 || arguments[0] != "openrpc") {
        return Quon::Bindings::ToText(Quon::Bindings::MakeMetadata(reports));
    }
    std::vector<Quon::Definition::Service> services = Quon::Bindings::DescribeRuntimeServices();
    services.insert(services.begin(), reports);
    return Quon::Bindings::MakeOpenRpc(services, arguments[1]);
}

}  // namespace

int main(int argc, char* argv[]) {
    try {
        std::cout << Document({argv + 1, argv + argc}) << std::flush;
        return std::cout ? 0 : 1;
    } catch (const std::exception& exception) {
        std::cerr << "Cannot generate the description of the API: " << exception.what() << "\n";
        return 1;
    }
}
