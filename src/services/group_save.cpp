#include "services/group_save.h"

#include <memory>
#include <optional>
#include <utility>

#include "companies/session.h"
#include "host/conversions.h"
#include "host/settings.h"
#include "host/store.h"
#include "posting/posting_runs.h"

namespace pendara {

namespace {

// The registry's last account written once for the whole group save (also when it stops or
// fails), not once per account.
class LastAccountDeferral {
  public:
    explicit LastAccountDeferral(Session& s) : s_(s), outer_(s.DeferLastAccount) {
        s_.DeferLastAccount = true;
    }
    ~LastAccountDeferral() {
        try {
            Write();
        } catch (...) {
            // the run is already failing; its own error is the one reported
        }
    }
    LastAccountDeferral(const LastAccountDeferral&) = delete;
    LastAccountDeferral& operator=(const LastAccountDeferral&) = delete;

    void Write() {
        if (outer_ || !s_.DeferLastAccount) return;
        s_.DeferLastAccount = false;
        if (std::optional<std::string> last = std::exchange(s_.PendingLastAccount, std::nullopt))
            SetRegValue(s_.port, "Ultima", *last, "Punteo");
    }

  private:
    Session& s_;
    bool outer_;
};

}  // namespace

SaveAllResult SaveAll(Session& s, std::vector<std::string> entries, const std::string& mask,
                      const AccountRequest& request, bool zeroBalanceShown, std::stop_token stop,
                      const SaveAllCallbacks& callbacks, const Progress& progress) {
    auto report = [&progress](std::int32_t value, std::int32_t maximum) {
        if (progress) progress(value, maximum);
    };
    SaveAllResult result;
    result.zeroBalanceShown = zeroBalanceShown;
    report(-1, 0);
    // Every account is posted whole as it is saved, and a stop keeps the accounts saved so far.
    std::unique_ptr<PostingRun> run;
    if (!s.RunInProgress) run = OpenPostingRun(s, "save-all", Trim(mask), true);
    RunInProgressScope scope(s, s.RunInProgress ? s.RunInProgress : run.get());
    LastAccountDeferral lastAccount(s);
    // The chart and the entries files are looked up for every account: opened once for the run.
    ConnectionReuse connections;
    const auto n = static_cast<std::int32_t>(entries.size());
    // From the last entry to the first, so that dropping one never moves one still to come.
    for (std::int32_t i = n; i >= 1; --i) {
        if (static_cast<std::size_t>(i - 1) >= entries.size()) continue;
        const auto remaining = static_cast<std::int32_t>(entries.size());
        report(result.done, remaining);
        const GroupStep step{result.done, remaining, i - 1,
                             entries[static_cast<std::size_t>(i - 1)]};
        if (callbacks.beforeAccount) callbacks.beforeAccount(step);
        AccountRequest one = request;
        one.entry = step.entry;
        const AccountOutcome outcome = ProcessAccount(s, one, progress);
        if (outcome.match.loaded) result.zeroBalanceShown = outcome.match.balance == 0;
        const bool removed = result.zeroBalanceShown;
        if (removed) entries.erase(entries.begin() + (i - 1));
        result.entriesWritten += static_cast<std::int32_t>(outcome.saved.posting.rows.size());
        if (outcome.review)
            result.entriesWritten +=
                static_cast<std::int32_t>(outcome.review->saved.posting.rows.size());
        ++result.done;
        if (callbacks.afterAccount) callbacks.afterAccount(step, outcome, removed);
        if (stop.stop_requested()) {
            result.stopped = true;
            break;
        }
    }
    lastAccount.Write();
    if (run) run->Finish();
    report(0, 0);
    result.remaining = std::move(entries);
    return result;
}

}  // namespace pendara
