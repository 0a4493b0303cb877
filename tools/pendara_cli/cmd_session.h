#pragma once
// What the headless commands share: a window state over the console port, started as the
// desktop program starts, and the printing of what stays on the grids and in the account list.

#include <atomic>
#include <iosfwd>
#include <memory>
#include <string>

#include "cli/console_port.h"
#include "ui/pndra.h"

namespace pendara::cli {

class Session {
  public:
    // A window on the console; the command line is the desktop program's (an account or "").
    explicit Session(bool assumeYes, std::string commandLine = "");

    // Form_Load through the dispatcher; a missing active company is a clear error (HostError).
    void Load();
    // Runs a handler as a user event (a host failure is shown and ends the command).
    void Event(const std::function<void()>& handler);

    // Fills the account list with the accounts beginning with mask: the full or the pending list.
    void FillList(const std::string& mask, bool pending);
    // Fills the full list for the account and selects its entry (which loads, matches and saves
    // it). HostError when the chart of the active company has no such account.
    void SelectAccount(const std::string& account);
    // The same selection without running the list click.
    void SelectAccountQuietly(const std::string& account);

    // The progress bar on the terminal names the account in progress and how many are left.
    void LabelProgressWithAccount();
    // Ctrl-C sets the stop request of the window at its next chance to see events.
    void StopOnInterrupt();

    Pndra& window() { return *window_; }
    ConsolePort& port() { return port_; }

  private:
    int FindAccount(const std::string& account);

    ConsolePort port_;
    std::unique_ptr<Pndra> window_;
};

// Notices of the matching runs (the enhanced search reaching its limit on an account) go to
// `err`, one line each.
void ReportNotices(Pndra& w, DesktopPort& port, std::ostream& err);

// The rows still open in both grids ("1" or "2", TAB, the row's 8 cells) and "newref" TAB the
// next reference.
void PrintGrids(std::ostream& out, const Pndra& w);
// The account list entries, one per line.
void PrintList(std::ostream& out, const Pndra& w);

}  // namespace pendara::cli
