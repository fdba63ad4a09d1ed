// Explains the intake's answers to the sender of a post, and what to do about each.
#pragma once

#include <string>

namespace Ctl {

struct IntakeAnswer {
    int status;
    const char* happened;  // to the report: "it is longer than 1048576 bytes"
    const char* advice;
};

// The explanation of a refusal; for any other status, that the answer is not sentrel's. 0 means
// that no answer was sent, since the body of the post ended early.
const IntakeAnswer& ExplainAnswer(int status);

// "refused with 500: it could not be stored", "not accepted: its body did not arrive whole".
std::string RefusalText(int status);

}  // namespace Ctl
