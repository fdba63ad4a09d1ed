// What the intake's answers mean for whoever posts, and what to do about each.
#pragma once

#include <string>

namespace Ctl {

struct IntakeAnswer {
    int status;
    const char* happened;  // to the report: "it is longer than 1048576 bytes"
    const char* advice;
};

// Of a refusal; of any other status: that this is not sentrel. 0 stands for none, since the body of
// the post broke off.
const IntakeAnswer& ExplainAnswer(int status);

// "refused with 500: it could not be stored", "not accepted: its body did not arrive whole".
std::string RefusalText(int status);

}  // namespace Ctl
