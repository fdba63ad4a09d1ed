// The page of a host: one self-contained HTML document. It is complete without its script, which
// filters, sorts and applies changes.
#pragma once

#include "ctl/sight/host_view.h"

#include <string>

namespace Ctl {

struct PageFacts {
    std::string host;         // the host's name
    std::string version;      // this program's version
    std::string daemon;       // "running for 3 h as sentrel ...", or why it is unknown
    std::string command;      // the command that created the page
    std::string events;       // the path of the events of a live page; empty for a file
    std::string notice = {};  // what is wrong with the whole host
};

// The Content-Security-Policy of the page.
std::string PagePolicy(const std::string& events);

// The parts that a live page replaces after a change, each safe to insert as HTML.
std::string NoticeHtml(const std::string& text);
std::string PillsHtml(const HostView& view);
std::string ProblemsHtml(const HostView& view);
std::string RowHtml(const ViewedReport& report, const HostView& view);
std::string HourHtml(const HostView& view);
std::string FindingsHtml(const HostView& view);

std::string PageHtml(const HostView& view, const PageFacts& facts);

}  // namespace Ctl
