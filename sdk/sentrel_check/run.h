// The main function of a plugin: all but the check itself.
#pragma once

#include "sentrel_check/report.h"
#include "sentrel_check/settings.h"

#include <functional>

namespace SentrelCheck {

// Looks at the host and adds to the report what it found. Asks for its settings first. What it
// throws (std::exception) makes the report's status unknown, with the text as reason.
using CheckFunction = std::function<void(Settings&, Report&)>;

// Reads the command line and the settings, checks, posts the report under the plugin's own name,
// and gives the exit status for main: 0 when the report is stored, 1 when it is not, 2 when the
// command line is wrong. Each failure is one line on standard error, and a broken settings file is
// reported too, with the status unknown. At the log level debug a line tells the success.
int RunCheck(int argc, char* argv[], const CheckFunction& check);

}  // namespace SentrelCheck
