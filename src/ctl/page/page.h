// The page of a host: one self-contained HTML document. It is complete without its script, which
// filters, sorts and applies changes.
#pragma once

#include "ctl/sight/host_view.h"

#include <string>

namespace Ctl {

struct PageFacts {
    std::string host;     // its name
    std::string version;  // of this program
    std::string daemon;   // "running for 3 h as sentrel ...", or why it cannot be seen
    std::string command;  // that made the page
    std::string events;   // the path from which a live page is told of changes; empty for a file
    std::string notice = {};  // what is wrong with the whole host
};

// Its Content-Security-Policy.
std::string PagePolicy(const std::string& events);

// The parts that the live page replaces when something changes, each safe to insert as HTML.
std::string NoticeHtml(const std::string& text);
std::string PillsHtml(const HostView& view);
std::string ProblemsHtml(const HostView& view);
std::string RowHtml(const ViewedReport& report, const HostView& view);
std::string HourHtml(const HostView& view);
std::string FindingsHtml(const HostView& view);

std::string PageHtml(const HostView& view, const PageFacts& facts);

}  // namespace Ctl
