#pragma once
// A report on screen or on the printer: the pages laid out by the report layout, drawn with
// Qt's fonts, in a print preview from which the user prints or saves, or on a printer.

#include <QDialog>
#include <QPainter>
#include <functional>

#include "host/desktop_port.h"
#include "host/report_output.h"

namespace pendara {

// The report's pages, measured with the fonts that will draw them.
ReportLayout LayoutWithQtFonts(const ReportRequest& request, const ReportPageSize& size);

// Draws one laid page; `scale` is device units per point.
void PaintReportPage(QPainter& painter, const LaidPage& page, double scale);

void ShowReportDialog(const ReportRequest& request, ReportScreenTarget target, QWidget* parent,
                      const std::function<int(QDialog&)>& exec);

}  // namespace pendara
