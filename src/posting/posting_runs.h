#pragma once
// The runs of the journal as the program starts them: the chain's first company, the wait for
// files another workstation holds (host/waits.h: the option kWaitSetting; the port hears of the
// wait), the files of an account's chain, and the recovery at start.

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "host/account_posting.h"
#include "model/account.h"

namespace pendara {

class ReferenceCounter;
class Session;

PostingOptions PostingOptionsFor(Session& s);
// The wait for an entries file or the counter's record, as the option and the session's port say.
WaitPolicy WaitPolicyFor(Session& s);

// A run of the chain's journal (a run without journal when the chain has no first company).
// `group`: a run over many accounts, whose counter draws are synced once at its end.
std::unique_ptr<PostingRun> OpenPostingRun(Session& s, const std::string& command,
                                           const std::string& arguments, bool group = false);

// Posts one account into the session's run in progress (a group save) or into a run of its own
// named by `command`. HostError when it could not be written (nothing of it was).
PostResult PostAccount(Session& s, const AccountPosting& posting, const std::string& command);

// Makes `run` the session's run in progress while it lives.
class RunInProgressScope {
  public:
    RunInProgressScope(Session& s, PostingRun* run);
    ~RunInProgressScope();
    RunInProgressScope(const RunInProgressScope&) = delete;
    RunInProgressScope& operator=(const RunInProgressScope&) = delete;

  private:
    Session& s_;
    PostingRun* previous_;
};

// A run that writes nothing while it lives: every account posted is only previewed, in a run
// without journal, and every reference is drawn from a counter that starts where the chain's
// counter stands and never writes it. The changes an account would make are told as if the
// accounts previewed before it in the same dry run had been written.
class DryRun {
  public:
    explicit DryRun(Session& s);
    ~DryRun();
    DryRun(const DryRun&) = delete;
    DryRun& operator=(const DryRun&) = delete;

    PostResult Preview(const AccountPosting& posting);

  private:
    Session& s_;
    std::unique_ptr<PostingRun> run_;
    std::unique_ptr<ReferenceCounter> counter_;
    ReferenceCounter* previousCounter_;
    DryRun* previous_;
    std::unique_ptr<RunInProgressScope> scope_;
    // Entries file and record -> the value an earlier preview of this dry run left.
    std::map<std::pair<std::string, std::int32_t>, RowValue> written_;
};

// The entries files of the account's chain (companies 1..K) as a posting's files: company k of
// a grid row is file k - 1.
std::vector<PostingFile> ChainPostingFiles(const LoadedAccount& account);

// Completes the accounts that interrupted runs left unfinished, and tells the user which.
void RecoverInterruptedRuns(Session& s);

}  // namespace pendara
