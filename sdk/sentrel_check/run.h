// The main function of a plugin, except for the check itself.
#pragma once

#include "sentrel_check/report.h"
#include "sentrel_check/settings.h"

#include <functional>

namespace SentrelCheck {

// Examines the host and adds its findings to the report. Reads its settings first. If it throws a
// std::exception, the report's status is unknown, with the exception's text as reason.
using CheckFunction = std::function<void(Settings&, Report&)>;

// Reads the command line and the settings, runs the check, posts the report under the plugin's own
// name, and returns the exit status for main: 0 if the report is stored, 1 if not, 2 if the command
// line is invalid. Prints each failure as a line on standard error; an invalid settings file is
// reported too, with the status unknown. At the log level debug, prints a line on success.
int RunCheck(int argc, char* argv[], const CheckFunction& check);

}  // namespace SentrelCheck
