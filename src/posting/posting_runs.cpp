#include "posting/posting_runs.h"

#include "host/conversions.h"
#include "host/paths.h"
#include "host/qv_library.h"
#include "ui/pndra.h"

namespace pendara {

WaitPolicy WaitPolicyFor(Pndra& w) {
    WaitPolicy wait;
    wait.limit = WaitLimitOf(w.Lib().GetSetting(kWaitSetting, "", "30"));
    DesktopPort& port = w.port;
    wait.onWait = [&port](const std::string& file, std::chrono::milliseconds waited) {
        return port.WaitingForFile(file, static_cast<double>(waited.count()) / 1000);
    };
    return wait;
}

PostingOptions PostingOptionsFor(Pndra& w) {
    PostingOptions options;
    options.wait = WaitPolicyFor(w);
    return options;
}

std::unique_ptr<PostingRun> OpenPostingRun(Pndra& w, const std::string& command,
                                           const std::string& arguments, bool group) {
    PostingOptions options = PostingOptionsFor(w);
    options.deferCounterSync = group;
    const std::string first = Trim(w.FirstCompanyFile).empty() ? "" : w.FirstCompanyFile;
    return std::make_unique<PostingRun>(first, command, arguments, std::move(options));
}

void PostAccount(Pndra& w, const AccountPosting& posting, const std::string& command) {
    if (w.RunInProgress) {
        w.RunInProgress->Post(posting);
        return;
    }
    std::unique_ptr<PostingRun> run = OpenPostingRun(w, command, posting.account);
    run->Post(posting);
    run->Finish();
}

RunInProgressScope::RunInProgressScope(Pndra& w, PostingRun* run)
    : w_(w), previous_(w.RunInProgress) {
    w_.RunInProgress = run;
}

RunInProgressScope::~RunInProgressScope() {
    w_.RunInProgress = previous_;
}

std::vector<PostingFile> ExtractPostingFiles(const Pndra& w) {
    std::vector<PostingFile> files;
    for (std::size_t k = 1; k < w.EntryFiles.size(); ++k)
        files.push_back({w.EntryFiles[k], k < w.CompanyFiles.size() ? CleanName(w.CompanyFiles[k])
                                                                    : w.EntryFiles[k]});
    return files;
}

void RecoverInterruptedRuns(Pndra& w) {
    if (Trim(w.FirstCompanyFile).empty()) return;
    RecoveryReport report = RecoverRuns(w.FirstCompanyFile, PostingOptionsFor(w));
    if (!report.empty()) w.port.MsgBox(report.Describe(), kVbInformation, "");
}

}  // namespace pendara
