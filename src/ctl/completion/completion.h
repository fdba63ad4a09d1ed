// What may stand where a command line ends so far, for the shells: they ask the tool itself, with
// the hidden command "__complete WORD...", so that they know what the tool and the host know.
//
//   WORD                        a candidate for the last word
//   WORD <tab> DESCRIPTION      the same, with a few words on it
//   :file  or  :directory       the shell shall offer those that it finds
//
// One a line. A last word "--OPTION=..." is completed as a whole.
#pragma once

#include "ctl/command/command.h"

#include <iosfwd>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Ctl {

inline constexpr std::string_view kCompleteCommand = "__complete";

struct Candidate {
    std::string word;
    std::string description;  // may be empty
};

// What is to be typed at the end of a command line, as far as the table of commands tells.
struct Completion {
    std::vector<Candidate> candidates;         // of the table
    Completes completes = Completes::Nothing;  // those of the host to add
    std::string typed;                         // what the candidates begin with, ASCII case aside
    std::string before;                        // what stands before them in the last word
    GivenOptions options;                      // of the words before
    std::vector<std::string> operands;         // that stand before the last word
};

// `words` are the arguments of the program up to the cursor; the last one is to be completed and
// may be empty. Of words that the tool would not understand there is nothing to complete.
Completion FindCompletion(std::span<const Command> commands, std::span<const char* const> words);

// Writes the candidates, with those of the host, which is looked up as the options say. Does not
// tell of what cannot be read, or not in time.
void WriteCandidates(const Completion& completion, std::ostream& output);

}  // namespace Ctl
