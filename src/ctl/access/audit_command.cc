#include "ctl/access/audit_command.h"

#include "ctl/access/audit_reader.h"
#include "ctl/show/json_output.h"
#include "ctl/show/printable.h"
#include "platform/audit/kvx_audit.h"

#include <nlohmann/json.hpp>

#include <array>
#include <ostream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace Ctl {

namespace {

using OrderedJson = nlohmann::ordered_json;

constexpr std::array<Option, 3> kAuditOptions = {{
    {"--follow", "", "keep printing new records until interrupted"},
    {"--denied", "", "show only calls that were refused or failed"},
    {"--json", "", "print the records as they are, one per line"},
}};

struct AuditView {
    bool asJson = false;
    bool deniedOnly = false;
};

// Prints records as rows while they arrive; the widths of TIME, RESULT and USER are fixed, since
// later texts are unknown.
class AuditPrinter {
  public:
    AuditPrinter(AuditView view, std::ostream& output) : view(view), output(output) {}

    bool HasPrinted() const { return hasHeading; }

    void Print(const std::string& line) {
        const OrderedJson record = OrderedJson::parse(line, nullptr, false);
        const bool isRecord = record.is_object();
        const bool succeeded = isRecord && record.value("success", false);
        if (view.deniedOnly && succeeded) {
            return;
        }
        if (view.asJson) {
            // skips a line that is not a record, such as one cut by a full disk
            if (isRecord) {
                WriteJson(record, output);
            }
            return;
        }
        if (!hasHeading) {
            hasHeading = true;
            Row("TIME", "RESULT", "USER", "CALL");
        }
        if (!isRecord) {
            Row("?", "?", "?", line);
            return;
        }
        const std::string subject = TextOf(record, "subject");
        Row(TextOf(record, "time"), succeeded ? "ok" : "denied", subject.empty() ? "-" : subject,
            TextOf(record, "object"));
    }

  private:
    static std::string Padded(const std::string& text, std::size_t width) {
        std::string padded = PrintableText(text);
        padded.append(padded.size() < width ? width - padded.size() : 0, ' ');
        return padded;
    }
    void Row(const std::string& time, const std::string& result, const std::string& user,
             const std::string& call) {
        constexpr std::size_t kTimeWidth = 24;
        constexpr std::size_t kResultWidth = 6;
        constexpr std::size_t kUserWidth = 12;
        output << Padded(time, kTimeWidth) << "  " << Padded(result, kResultWidth) << "  "
               << Padded(user, kUserWidth) << "  " << PrintableText(call) << '\n';
    }

    const AuditView view;
    bool hasHeading = false;
    std::ostream& output;
};

void RunAudit(const Arguments& arguments, std::ostream& output) {
    AuditReader reader{Audit::kLogPath};
    const AuditView view{.asJson = arguments.options.Has("--json"),
                         .deniedOnly = arguments.options.Has("--denied")};
    AuditPrinter printer(view, output);
    const bool follow = arguments.options.Has("--follow");
    do {
        for (std::string line; reader.Next(line);) {
            printer.Print(line);
        }
        if (follow && !output.flush()) {
            return;  // the reader of the output has gone
        }
    } while (follow && reader.WaitForMore());
    if (!printer.HasPrinted() && !view.asJson) {
        output << "No matching call is recorded.\n";
    }
}

constexpr std::array<Command, 1> kCommands = {{
    {"audit",
     "show who called the API",
     "Shows the audit log: when each call of the API ended, whether it succeeded, the user\n"
     "(\"-\" without a valid token), and the operation. Reads /var/log/korvex/audit.jsonl and\n"
     "its older files.\n",
     "sentrelctl audit --denied",
     kAuditOptions,
     {},
     RunAudit},
}};

}  // namespace

std::span<const Command> AuditCommands() { return kCommands; }

}  // namespace Ctl
