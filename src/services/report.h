#pragma once
// The open-items and matching report over the accounts of the active company's chart.

#include <functional>

#include "host/gauge.h"
#include "model/report.h"
#include "reports/report.h"

namespace pendara {

class Session;

// The report of every posting account of the chart in the options' range (Informe_Click after
// its dialog): one AccountReport per account, in chart order, dated today. `afterAccount` runs
// after each account (the window lets pending events through).
Report GenerateReport(Session& s, const ReportOptions& options, const Progress& progress = {},
                      const std::function<void()>& afterAccount = {});

// The same report handed over account by account: `sink` takes each account as soon as it is
// made, so that a long report need not be held whole; the Report returned carries everything
// but the accounts.
Report GenerateReportByAccount(Session& s, const ReportOptions& options,
                               const std::function<void(AccountReport&&)>& sink,
                               const Progress& progress = {},
                               const std::function<void()>& afterAccount = {});

// What the host's report output is handed for that report (RequestOf of GenerateReport), made
// account by account: each account's values are dropped as soon as its text is made.
ReportRequest GenerateReportRequest(Session& s, const ReportOptions& options,
                                    const Progress& progress = {},
                                    const std::function<void()>& afterAccount = {});

}  // namespace pendara
