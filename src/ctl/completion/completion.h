// Completes a command line for the shells, which call the hidden command "__complete WORD..." of
// the tool itself, so that they offer its options and the host's names. Its output has one
// candidate per line:
//
//   WORD                        a candidate for the last word
//   WORD <tab> DESCRIPTION      the same, with a description
//   :file  or  :directory       the shell completes files or directories
//
// A last word "--OPTION=..." is completed as a whole.
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

// The completion of the last word of a command line, as far as the table of commands determines it.
struct Completion {
    std::vector<Candidate> candidates;         // from the table
    Completes completes = Completes::Nothing;  // the kind of the host's names to add
    std::string typed;                         // the prefix of the candidates, ignoring ASCII case
    std::string before;                        // the part of the last word before the candidates
    GivenOptions options;                      // from the preceding words
    std::vector<std::string> operands;         // that stand before the last word
};

// `words` are the arguments of the program up to the cursor; the last one is to be completed and
// may be empty. Nothing to complete if the tool would not understand the words.
Completion FindCompletion(std::span<const Command> commands, std::span<const char* const> words);

// Writes the candidates and the host's names, read as the options say. Silently omits names that
// cannot be read in time.
void WriteCandidates(const Completion& completion, std::ostream& output);

}  // namespace Ctl
