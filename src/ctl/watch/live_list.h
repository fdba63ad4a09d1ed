// The contents of the live screen: the list of reports with their changes, one report in full, or
// the keys. Does not depend on the terminal, except on the frame that it draws.
#pragma once

#include "ctl/watch/host_watch.h"
#include "ctl/watch/terminal_screen.h"
#include "ctl/watch/trends.h"

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace Ctl {

class LiveList {
  public:
    explicit LiveList(const HostWatch& watch);

    void Take(const HostChanges& changes);
    // False if the user quits.
    bool Press(const KeyPress& press);
    // Draws the whole present frame.
    void Draw(TerminalScreen& screen);

  private:
    using TimePoint = std::chrono::system_clock::time_point;
    enum class Shown { List, Report, Keys };
    enum class Order { State, Name, Age };
    struct Mark {
        ReportState before;
        TimePoint end;  // when its display ends
    };

    std::vector<const ViewedReport*> Rows() const;
    void PressInFilter(const KeyPress& press);
    bool PressCharacter(const std::string& character);
    void Move(int rows);
    const ViewedReport* FindSelected() const;
    void Open(const ViewedReport& report);
    void Close();

    void DrawHead(TerminalScreen& screen) const;
    void DrawRows(TerminalScreen& screen);
    void DrawRow(TerminalScreen& screen, int line, int nameWidth, const ViewedReport& report) const;
    void DrawReport(TerminalScreen& screen);
    void DrawFoot(TerminalScreen& screen) const;
    std::string DaemonWord() const;
    std::chrono::seconds SinceView() const;

    const HostWatch& watch;
    const std::string hostName;
    Trends trends;
    std::map<std::string, Mark> marks;  // marks of changed reports, by name
    Shown shown = Shown::List;
    Order order = Order::State;
    std::string filter;
    bool isTyping = false;  // the user is typing the filter
    std::string selected;   // a report's name; that of the opened one, if any
    int top = 0;            // the first visible row, or line of the report
    int page = 1;           // the number of rows of the last frame
    std::optional<ViewedReport> opened;
    TimePoint now;
    std::optional<TimePoint> daemonChange;
};

}  // namespace Ctl
