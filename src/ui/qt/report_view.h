#pragma once
// A report on screen or on the printer: the pages laid out by the report layout, drawn with
// Qt's fonts, in a print preview from which the user prints or saves, or on a printer.

#include <QDialog>
#include <QPainter>
#include <functional>

#include "host/desktop_port.h"
#include "host/report_output.h"

namespace pendara {

// The pages the preview and the printer draw: the PDF file's own layout (same page size, same
// font widths), so that all three break pages at the same lines.
ReportLayout PreviewLayout(const ReportRequest& request);

// Draws one laid page; `scale` is device units per point. Each text is drawn to the width the
// layout measured for it, whatever the screen font's own width.
void PaintReportPage(QPainter& painter, const LaidPage& page, double scale);

void ShowReportDialog(const ReportRequest& request, ReportScreenTarget target, QWidget* parent,
                      const std::function<int(QDialog&)>& exec);

}  // namespace pendara
