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
        while (!chart.IsEof()) {
            double balance = 0;
            bool open = false;
            AccountStatus(entriesFile, chart.GetField(1), balance, open);
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
