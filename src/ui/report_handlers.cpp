#include "ui/report_handlers.h"

#include <optional>

#include "companies/account_list.h"
#include "companies/session.h"
#include "host/conversions.h"
#include "host/qv_library.h"
#include "host/report_output.h"
#include "reports/report.h"
#include "services/account_run.h"
#include "services/report.h"
#include "ui/pndra.h"
#include "ui/posting_handlers.h"

namespace pendara {

void Informe_Click(Pndra& w) {
    const std::optional<ReportOptions> options = AskReportOptions(w.session, w.CTA.text());
    if (!options) return;
    const ReportOutcome outcome = w.session.Lib().PrintReport(
        GenerateReportRequest(w.session, *options, w.GaugeProgress(), [&w] { w.port.DoEvents(); }));
    if (w.onReportOutput) w.onReportOutput(outcome);
}

void revisarsaldos_Click(Pndra& w) {
    // The account of the selected list entry, up to and including its first blank.
    const std::string account = Trim(ListEntryAccount(w.List2.List(w.List2.ListIndex())));
    ShowSave(w, ReviewBalance(w.session, account, w.Grids(), w.GaugeProgress()).saved);
}

}  // namespace pendara
