#pragma once
// The runs of the journal as the window starts them: the chain's first company, the wait for
// files another workstation holds (host/waits.h: the option kWaitSetting; the port hears of the
// wait), the files of the last extract load, and the recovery at start.

#include <memory>
#include <string>
#include <vector>

#include "host/account_posting.h"

namespace pendara {

class Pndra;

PostingOptions PostingOptionsFor(Pndra& w);
// The wait for an entries file or the counter's record, as the option and the window's port say.
WaitPolicy WaitPolicyFor(Pndra& w);

// A run of the chain's journal (a run without journal when the chain has no first company).
// `group`: a run over many accounts, whose counter draws are synced once at its end.
std::unique_ptr<PostingRun> OpenPostingRun(Pndra& w, const std::string& command,
                                           const std::string& arguments, bool group = false);

// Posts one account into the run in progress (w.RunInProgress, a group save) or into a run of
// its own named by `command`. HostError when it could not be written (nothing of it was).
void PostAccount(Pndra& w, const AccountPosting& posting, const std::string& command);

// Makes `run` the run in progress of the window while it lives.
class RunInProgressScope {
  public:
    RunInProgressScope(Pndra& w, PostingRun* run);
    ~RunInProgressScope();
    RunInProgressScope(const RunInProgressScope&) = delete;
    RunInProgressScope& operator=(const RunInProgressScope&) = delete;

  private:
    Pndra& w_;
    PostingRun* previous_;
};

// The entries files of the last extract load (EntryFiles 1..K) as a posting's files: company
// k of a grid row is file k - 1.
std::vector<PostingFile> ExtractPostingFiles(const Pndra& w);

// Completes the accounts that interrupted runs left unfinished, and tells the user which.
void RecoverInterruptedRuns(Pndra& w);

}  // namespace pendara
