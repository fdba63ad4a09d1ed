// The description of the report document, as it is installed for others to use. The build makes the
// constant of dist/schema/report.schema.json.
#pragma once

#include <string_view>

namespace Ctl {

// A JSON Schema, as text.
extern const std::string_view kReportSchema;

}  // namespace Ctl
