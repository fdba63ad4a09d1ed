// The help texts, written from the table of sub-commands.
#pragma once

#include "ctl/command/command.h"

#include <iosfwd>
#include <span>
#include <string_view>

namespace Ctl {

// Writes all commands with their summaries, or those of one family.
void WriteOverview(std::span<const Command> commands, std::string_view family,
                   std::ostream& output);

// Writes usage, description, options and an example of one command.
void WriteCommandHelp(const Command& command, std::ostream& output);

}  // namespace Ctl
