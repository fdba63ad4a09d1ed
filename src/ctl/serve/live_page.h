// The page of a host that is watched, and what a browser that shows an older one is to change.
#pragma once

#include "ctl/watch/host_watch.h"

#include <cstdint>
#include <map>
#include <string>

namespace Ctl {

class LivePage {
  public:
    using Version = std::uint64_t;

    explicit LivePage(const HostWatch& watch);

    // Renews the page after a look of the watch.
    void Take(const HostChanges& changes);

    Version Newest() const { return newest; }
    // The whole document as it is now.
    std::string Document();
    // The Content-Security-Policy of the document.
    static std::string Policy();
    // JSON, the changes since that version: {"sections": {ID: HTML}, "rows": {NAME: HTML}}, where
    // empty HTML removes a row.
    std::string UpdateSince(Version version) const;

  private:
    void Renew();
    std::string Notice() const;

    const HostWatch& watch;
    HostView view;
    Version newest = 1;
    std::map<std::string, Version> changed;  // when, by name; of removed ones too
    Version findingsChanged = 1;
};

}  // namespace Ctl
