#include "posting/posting_runs.h"

#include "companies/session.h"
#include "host/conversions.h"
#include "host/desktop_port.h"
#include "host/paths.h"
#include "host/qv_library.h"
#include "matching/references.h"

namespace pendara {

WaitPolicy WaitPolicyFor(Session& s) {
    WaitPolicy wait;
    wait.limit = WaitLimitOf(s.Lib().GetSetting(kWaitSetting, "", "30"));
    DesktopPort& port = s.port;
    wait.onWait = [&port](const std::string& file, std::chrono::milliseconds waited) {
        return port.WaitingForFile(file, static_cast<double>(waited.count()) / 1000);
    };
    return wait;
}

PostingOptions PostingOptionsFor(Session& s) {
    PostingOptions options;
    options.wait = WaitPolicyFor(s);
    return options;
}

std::unique_ptr<PostingRun> OpenPostingRun(Session& s, const std::string& command,
                                           const std::string& arguments, bool group) {
    PostingOptions options = PostingOptionsFor(s);
    options.deferCounterSync = group;
    const std::string first = Trim(s.FirstCompanyFile).empty() ? "" : s.FirstCompanyFile;
    return std::make_unique<PostingRun>(first, command, arguments, std::move(options));
}

PostResult PostAccount(Session& s, const AccountPosting& posting, const std::string& command) {
    if (s.DryRunInProgress) return s.DryRunInProgress->Preview(posting);
    if (s.RunInProgress) return s.RunInProgress->Post(posting);
    std::unique_ptr<PostingRun> run = OpenPostingRun(s, command, posting.account);
    PostResult result = run->Post(posting);
    run->Finish();
    return result;
}

RunInProgressScope::RunInProgressScope(Session& s, PostingRun* run)
    : s_(s), previous_(s.RunInProgress) {
    s_.RunInProgress = run;
}

RunInProgressScope::~RunInProgressScope() {
    s_.RunInProgress = previous_;
}

DryRun::DryRun(Session& s)
    : s_(s),
      run_(std::make_unique<PostingRun>("", "dry-run", "", PostingOptionsFor(s))),
      counter_(std::make_unique<PreviewCounter>(s)),
      previousCounter_(s.CounterOverride()),
      previous_(s.DryRunInProgress) {
    s_.SetCounter(counter_.get());
    s_.DryRunInProgress = this;
    scope_ = std::make_unique<RunInProgressScope>(s_, run_.get());
}

DryRun::~DryRun() {
    scope_.reset();
    s_.DryRunInProgress = previous_;
    s_.SetCounter(previousCounter_);
}

PostResult DryRun::Preview(const AccountPosting& posting) {
    PostResult result = run_->Preview(posting);
    // Entries an earlier account of this dry run would have written: their value is the one that
    // account left, not the one on disk.
    std::map<std::pair<std::string, std::int32_t>, std::pair<RowValue, RowValue>> touched;
    for (const RowWrite& w : posting.rows) {
        if (w.file >= posting.files.size()) continue;
        const auto key = std::make_pair(posting.files[w.file].entries, w.record);
        const auto earlier = written_.find(key);
        if (earlier == written_.end()) continue;
        auto [it, fresh] = touched.try_emplace(key, earlier->second, earlier->second);
        if (w.reference) it->second.second.reference = *w.reference;
        if (w.mark) it->second.second.mark = *w.mark;
    }
    if (!touched.empty()) {
        std::vector<RowChange> changes;
        auto keyOf = [&posting](const RowChange& c) {
            for (const PostingFile& f : posting.files)
                if (f.company == c.company) return std::make_pair(f.entries, c.record);
            return std::make_pair(c.company, c.record);
        };
        for (RowChange& c : result.changes)
            if (!touched.contains(keyOf(c))) changes.push_back(std::move(c));
        for (const auto& [key, values] : touched) {
            if (values.first == values.second) continue;
            std::string company = key.first;
            for (const PostingFile& f : posting.files)
                if (f.entries == key.first) company = f.company;
            changes.push_back({company, key.second, values.first, values.second});
        }
        result.changes = std::move(changes);
    }
    for (const RowChange& c : result.changes)
        for (const PostingFile& f : posting.files)
            if (f.company == c.company) written_[{f.entries, c.record}] = c.after;
    return result;
}

std::vector<PostingFile> ChainPostingFiles(const LoadedAccount& account) {
    std::vector<PostingFile> files;
    for (std::size_t k = 1; k < account.entryFiles.size(); ++k)
        files.push_back({account.entryFiles[k], k < account.companyFiles.size()
                                                    ? CleanName(account.companyFiles[k])
                                                    : account.entryFiles[k]});
    return files;
}

void RecoverInterruptedRuns(Session& s) {
    if (Trim(s.FirstCompanyFile).empty()) return;
    RecoveryReport report = RecoverRuns(s.FirstCompanyFile, PostingOptionsFor(s));
    if (!report.empty()) s.port.MsgBox(report.Describe(), kVbInformation, "");
}

}  // namespace pendara
