#pragma once
// What every operation of the program works against: the desktop port, the host library, the
// company catalogue built at start (the active company and the companies of its earlier years),
// the access key last typed, and the company whose entries file was last listed or cleared.
// Front ends hold one session for the life of the program and hand it to the services.

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace pendara {

class DesktopPort;
class DryRun;
class PostingRun;
class QvLibrary;
class ReferenceCounter;

class Session {
  public:
    explicit Session(DesktopPort& port);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    DesktopPort& port;
    // The host library object, created on first use and kept for the life of the session.
    QvLibrary& Lib();
    // Where every new reference is drawn: the chain's counter unless another was set.
    ReferenceCounter& Counter();
    // Draws from `counter` (not owned) from now on; nullptr goes back to the chain's counter.
    void SetCounter(ReferenceCounter* counter) { counter_ = counter; }
    // The counter set with SetCounter (nullptr: the chain's).
    ReferenceCounter* CounterOverride() const { return counter_; }

    // The company the host package marks as active (registry value "Active").
    std::string ActiveCompanyFile;
    // The earliest company of the active company's chain, ending in ".QVT": it keeps the
    // reference counter. Empty when the chain could not be opened.
    std::string FirstCompanyFile;
    // Data folder (with its separator) and code of the company whose entries were last listed
    // or cleared; the look-ups of new references go to its entries file.
    std::string CurrentFolder;
    std::string CurrentCode;
    // The access key last typed; offered first whenever a company is opened.
    std::string AccessKey;
    // The catalogue: the companies of the chain in the order they were added (0 = the active
    // company, 1 its predecessor...).
    std::vector<std::string> ConsultedFiles;
    // The journal run that the saves of a group save go into (none outside one).
    PostingRun* RunInProgress = nullptr;
    // Set while a dry run lives: nothing is written, postings are only previewed (DryRun).
    DryRun* DryRunInProgress = nullptr;
    // While a group save runs, the last account worked on waits here and goes to the registry
    // ("Ultima") once, when the run ends, instead of a rewrite of the registry per account.
    bool DeferLastAccount = false;
    std::optional<std::string> PendingLastAccount;

  private:
    std::unique_ptr<QvLibrary> library_;
    std::unique_ptr<ReferenceCounter> chainCounter_;
    ReferenceCounter* counter_ = nullptr;
};

}  // namespace pendara
