#include "services/report.h"

#include <utility>
#include <vector>

#include "companies/catalogue.h"
#include "companies/session.h"
#include "host/company_file.h"
#include "host/conversions.h"
#include "host/errors.h"
#include "host/paths.h"
#include "host/qv_file_control.h"

namespace pendara {

Report GenerateReport(Session& s, const ReportOptions& options, const Progress& progress,
                      const std::function<void()>& afterAccount) {
    std::vector<AccountReport> accounts;
    Report r = GenerateReportByAccount(
        s, options, [&accounts](AccountReport&& a) { accounts.push_back(std::move(a)); }, progress,
        afterAccount);
    r.accounts = std::move(accounts);
    return r;
}

Report GenerateReportByAccount(Session& s, const ReportOptions& options,
                               const std::function<void(AccountReport&&)>& sink,
                               const Progress& progress,
                               const std::function<void()>& afterAccount) {
    auto report = [&progress](std::int32_t value, std::int32_t maximum) {
        if (progress) progress(value, maximum);
    };
    QvFileControl2 chart;
    std::int32_t status = 0;
    chart.OpenFile(ChartFile(FolderOf(s.ActiveCompanyFile), CompanyCode(s.ActiveCompanyFile)), "",
                   status);
    chart.SetFilter(ChartFilter(options.fromAccount, options.toAccount, options.mask));
    chart.MoveFirst();

    Report r;
    r.title = kReportTitle;
    r.columns = kReportColumns;
    r.alignments = kReportAlignments;
    r.destination = options.destination;
    report(-1, 0);
    // Nothing is written while the report runs, so the selection's size does not change.
    const std::int32_t selected = chart.GetRecordCount();
    std::int32_t done = 0;
    while (!chart.IsEof()) {
        const std::string account = Trim(chart.GetFieldByName("Cuenta"));
        sink(DoInforme(s, account, options));
        ++done;
        report(done, selected);
        if (afterAccount) afterAccount();
        chart.MoveNext();
    }
    report(0, 0);
    chart.CloseFile();
    r.date = DateText(TodaySystemText());
    r.companyName = CleanName(s.ActiveCompanyFile);
    r.criteria = ReportCriteria(options);
    try {
        const CompanyHeader header = ReadCompanyHeader(s.ActiveCompanyFile);
        r.companyFullName = Trim(header.name);
        if (header.year > 0) r.fiscalYear = std::to_string(header.year);
    } catch (const HostError&) {
        // The heading keeps the short name alone.
    }
    return r;
}

ReportRequest GenerateReportRequest(Session& s, const ReportOptions& options,
                                    const Progress& progress,
                                    const std::function<void()>& afterAccount) {
    ReportTextBuilder built;
    const Report header = GenerateReportByAccount(
        s, options, [&built](AccountReport&& a) { built.Add(a); }, progress, afterAccount);
    return built.TakeRequest(header);
}

}  // namespace pendara
