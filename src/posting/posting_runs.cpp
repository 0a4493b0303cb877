#include "posting/posting_runs.h"

#include "companies/session.h"
#include "host/conversions.h"
#include "host/desktop_port.h"
#include "host/paths.h"
#include "host/qv_library.h"

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
