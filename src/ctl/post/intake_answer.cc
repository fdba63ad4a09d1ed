#include "ctl/post/intake_answer.h"

#include <algorithm>
#include <array>

namespace Ctl {

namespace {

// sentrel-plugin(7) has the same rows.
constexpr std::array<IntakeAnswer, 10> kAnswers = {{
    {0, "its body arrived incomplete",
     "send as many bytes as Content-Length says, at once, and read the answer"},
    {206, "its URL names no report",
     R"(post to the URL after -u, followed by "/" and the name of the report)"},
    {400, "its content type is not exactly application/json, or the request is not valid HTTP",
     R"(send exactly "Content-Type: application/json")"},
    {403, "its Origin names another host", "leave out the field Origin"},
    {405, "its method is not POST", "use POST"},
    {408, "its body arrived too slowly", "send the whole body at once"},
    {411, "it has no Content-Length", "send Content-Length, and no chunks"},
    {413, "it is longer than 1048576 bytes", "send less"},
    {431, "its head is longer than 16 KiB", "send fewer and shorter fields"},
    {500, "the daemon could not store it",
     R"(run "sentrelctl doctor"; if it finds nothing, see the daemon's log (journalctl -u sentrel): the name may be too long, contain characters outside [a-zA-Z0-9_.-], or exceed max_report_names)"},
}};
constexpr IntakeAnswer kOther = {
    -1, "not an answer of sentrel",
    R"(run "sentrelctl doctor" to see which process listens on the port)"};

}  // namespace

const IntakeAnswer& ExplainAnswer(int status) {
    const auto* const found =
        std::find_if(kAnswers.begin(), kAnswers.end(),
                     [status](const IntakeAnswer& answer) { return answer.status == status; });
    return found == kAnswers.end() ? kOther : *found;
}

std::string RefusalText(int status) {
    return (status == 0 ? "not accepted" : "refused with " + std::to_string(status)) + ": " +
           ExplainAnswer(status).happened;
}

}  // namespace Ctl
