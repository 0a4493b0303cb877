#pragma once
// A report on screen: its TAB-separated lines become a table in a document, shown in a print
// preview from which the user prints or saves, or sent to the printer.

#include <QDialog>
#include <QTextDocument>
#include <functional>
#include <memory>

#include "ui/port.h"

namespace pendara {

// The document of a report: title, company and date, then one table row per line; an account
// heading ("_" and the account) is set in bold over the whole row.
std::unique_ptr<QTextDocument> BuildReportDocument(const ReportRequest& request);

void ShowReportDialog(const ReportRequest& request, ReportScreenTarget target, QWidget* parent,
                      const std::function<int(QDialog&)>& exec);

}  // namespace pendara
