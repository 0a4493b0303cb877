#include "services/account_list.h"

#include "companies/account_list.h"
#include "companies/catalogue.h"
#include "companies/session.h"
#include "host/conversions.h"
#include "host/paths.h"
#include "host/qv_file_control.h"

namespace pendara {

namespace {

// The chart of accounts cursor over the posting accounts that begin with the mask, by code.
void OpenChart(QvFileControl2& chart, const std::string& folder, const std::string& code,
               const std::string& mask) {
    chart.OpenFile(ChartFile(folder, code), "");
    chart.MoveFirst();
    chart.SetFilter("Cuenta  like " + mask + "* and nivel =0");
    chart.MoveFirst();
    chart.SetOrder("cuenta");
    chart.MoveFirst();
}

std::string EntryText(const QvFileControl2& chart) {
    return Trim(chart.GetField(1)) + " " + Trim(chart.GetField(2));
}

// Whether "Cuenta = " & code filters on exactly the trimmed code: codes of letters and digits.
// Any other code is looked at on its own, as the filter reads it.
bool PlainCode(const std::string& code) {
    if (code.empty()) return false;
    for (char c : code)
        if (!((c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z')))
            return false;
    return true;
}

}  // namespace

std::vector<std::string> ListAccounts(Session& s, const std::string& mask, AccountListKind kind) {
    const std::string folder = FolderOf(s.ActiveCompanyFile);
    const std::string code = CompanyCode(s.ActiveCompanyFile);
    std::vector<std::string> entries;
    if (kind == AccountListKind::Pending) {
        QvFileControl2 entriesFile;
        entriesFile.OpenFile(EntriesFile(folder, code), "");
        entriesFile.MoveFirst();
        QvFileControl2 chart;
        OpenChart(chart, folder, code, mask);
        s.CurrentFolder = folder;
        s.CurrentCode = code;
        // Every account's balance and open entry at once, instead of a filter and a scan per
        // account of the chart: the same figures, one pass.
        const auto summaries = entriesFile.AccountSummaries();
        while (!chart.IsEof()) {
            double balance = 0;
            bool open = false;
            const std::string account = chart.GetField(1);
            const std::string trimmed = Trim(account);
            if (PlainCode(trimmed)) {
                if (auto it = summaries.find(trimmed); it != summaries.end()) {
                    balance = RoundTo(it->second.sum, 2);
                    open = it->second.open;
                }
            } else {
                AccountStatus(entriesFile, account, balance, open);
            }
            if (balance != 0 && open) entries.push_back(EntryText(chart));
            chart.MoveNext();
        }
        chart.CloseFile();
        entriesFile.CloseFile();
        return entries;
    }
    QvFileControl2 chart;
    OpenChart(chart, folder, code, mask);
    while (!chart.IsEof()) {
        entries.push_back(EntryText(chart));
        chart.MoveNext();
    }
    chart.CloseFile();
    return entries;
}

}  // namespace pendara
