// The schema of the report document, as it is installed for other programs. The build generates the
// constant from dist/schema/report.schema.json.
#pragma once

#include <string_view>

namespace Ctl {

// A JSON Schema, as text.
extern const std::string_view kReportSchema;

}  // namespace Ctl
