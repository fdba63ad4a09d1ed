// Writes the metadata file of the reports service to standard output; run by the build.
#include "platform/bindings/metadata_writer.h"
#include "platform/bindings/reports_definition.h"

#include <exception>
#include <iostream>

int main() {
    try {
        const Quon::Definition::Service service =
            Com::Korvex::Oru::Observability::ReportsSvc::Describe();
        std::cout << Quon::Bindings::ToText(Quon::Bindings::MakeMetadata(service)) << std::flush;
        return std::cout ? 0 : 1;
    } catch (const std::exception& exception) {
        std::cerr << "The metadata file cannot be made: " << exception.what() << "\n";
        return 1;
    }
}
