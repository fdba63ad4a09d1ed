// The page of a watched host, and the changes for a browser that shows an older version of it.
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

    // Updates the page with changes that the watch found.
    void Take(const HostChanges& changes);

    Version Newest() const { return newest; }
    // The current document.
    std::string Document();
    // The Content-Security-Policy of the document.
    static std::string Policy();
    // The changes since that version, as JSON: {"sections": {ID: HTML}, "rows": {NAME: HTML}},
    // where empty HTML removes a row.
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
