#pragma once
// What the headless commands share: a session over the console port, started as the desktop
// program starts (the company catalogue, access keys asked on the terminal), the services called
// with it, and the printing of what stays on the grids and in the account list.

#include <iosfwd>
#include <string>
#include <vector>

#include "cli/console_port.h"
#include "companies/session.h"
#include "host/gauge.h"
#include "services/account_list.h"
#include "services/account_run.h"
#include "services/run_summary.h"

namespace pendara::cli {

class Headless {
  public:
    explicit Headless(bool assumeYes);

    // Builds the company catalogue; a missing active company is a clear error (HostError).
    void Load();
    // Runs a handler as a user event (a host failure is shown and ends the command).
    void Event(const std::function<void()>& handler);

    // The account list: every account beginning with the mask, or only the pending ones.
    std::vector<std::string> List(const std::string& mask, bool pending);
    // The full list's entry of the account. HostError when the active company's chart has no
    // such posting account.
    std::string EntryOf(const std::string& account);
    // What a click on the entry asks, with the window's options as the program starts (the
    // invoice key " Fra", the enhanced mode stored or forced by `enhanced`).
    AccountRequest Request(const std::string& entry, bool enhanced);
    // A click on the entry, its notice (the enhanced search reached its limit) on standard error.
    AccountOutcome Process(const AccountRequest& request);

    // The progress bar on the terminal; `label` (the account in progress) stands before it.
    Progress progress() { return GaugeProgress(gauge_); }
    void LabelProgress(const std::string& label);
    // Ctrl-C asks for a stop at the run's next chance (StopRequested).
    void StopOnInterrupt();  // SIGTERM too
    bool StopRequested();

    Session& session() { return session_; }
    ConsolePort& port() { return port_; }

  private:
    ConsolePort port_;
    Session session_;
    Gauge gauge_;
};

// The notice of an account on which the enhanced search reached its limit, on `err`.
void PrintNotice(const AccountMatch& match, DesktopPort& port, std::ostream& err);

// The rows of both grids that hold anything ("1" or "2", TAB, the row's 8 cells) and "newref"
// TAB the next reference.
void PrintGrids(std::ostream& out, const SaveResult& grids);
// Every row of a grid, blank ones too: its tag, TAB, the 8 cells.
void PrintGrid(std::ostream& out, const char* tag, const std::vector<GridRow>& rows);
// The run's summary (on standard error: the commands' standard output is a format of its own).
void PrintSummary(std::ostream& err, const RunSummary& summary, bool preview);
// The entries a dry run would change, one per line: company, record, reference and mark before,
// "->", reference and mark after, TAB-separated; a system reference the run would give an entry
// is followed by " (provisional)".
void PrintChanges(std::ostream& out, const std::vector<RowChange>& changes);
// Every change of the account's saves (the review's too), in order.
std::vector<RowChange> ChangesOf(const AccountOutcome& outcome);

// The account list entries, one per line.
void PrintList(std::ostream& out, const std::vector<std::string>& entries);

}  // namespace pendara::cli
