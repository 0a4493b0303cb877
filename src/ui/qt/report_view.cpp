#include "ui/qt/report_view.h"

#include <QFontMetricsF>
#include <QPageLayout>
#include <QPageSize>
#include <QPrintDialog>
#include <QPrintPreviewDialog>
#include <QPrinter>

#include "ui/qt/qt_text.h"

namespace pendara {

namespace {

QFont ReportFont(ReportFontStyle style, double size) {
    QFont f(QStringLiteral("DejaVu Sans"));
    f.setPointSizeF(size);
    f.setBold(style == ReportFontStyle::Bold);
    f.setItalic(style == ReportFontStyle::Italic);
    return f;
}

void PrintPages(QPrinter* printer, const ReportRequest& request) {
    printer->setFullPage(true);
    printer->setPageSize(QPageSize(QPageSize::A4));
    const ReportLayout layout = PreviewLayout(request);
    QPainter painter(printer);
    const double scale = printer->resolution() / 72.0;
    for (std::size_t i = 0; i < layout.pages.size(); ++i) {
        if (i > 0) printer->newPage();
        PaintReportPage(painter, layout.pages[i], scale);
    }
}

}  // namespace

ReportLayout PreviewLayout(const ReportRequest& request) {
    return PrintLayout(request);
}

void PaintReportPage(QPainter& painter, const LaidPage& page, double scale) {
    painter.save();
    for (const LaidRule& r : page.rules) {
        painter.setPen(QPen(Qt::black, std::max(1.0, r.width * scale)));
        painter.drawLine(QPointF(r.x1 * scale, r.y1 * scale), QPointF(r.x2 * scale, r.y2 * scale));
    }
    painter.setPen(Qt::black);
    for (const LaidText& t : page.texts) {
        const QFont font = ReportFont(t.style, t.size);
        painter.setFont(font);
        const QString text = Q(t.text);
        // The font's width on this device, in device units, against the layout's.
        const double drawn = QFontMetricsF(font, painter.device()).horizontalAdvance(text);
        const double wanted = t.width * scale;
        if (drawn > 0 && wanted > 0) {
            painter.save();
            painter.translate(t.x * scale, t.y * scale);
            painter.scale(wanted / drawn, 1.0);
            painter.drawText(QPointF(0, 0), text);
            painter.restore();
        } else {
            painter.drawText(QPointF(t.x * scale, t.y * scale), text);
        }
    }
    painter.restore();
}

void ShowReportDialog(const ReportRequest& request, ReportScreenTarget target, QWidget* parent,
                      const std::function<int(QDialog&)>& exec) {
    QPrinter printer(QPrinter::HighResolution);
    printer.setDocName(Q(request.title));
    printer.setPageSize(QPageSize(QPageSize::A4));
    if (target == ReportScreenTarget::Printer) {
        QPrintDialog dlg(&printer, parent);
        dlg.setWindowTitle(Q(request.title));
        if (exec(dlg) == QDialog::Accepted) PrintPages(&printer, request);
        return;
    }
    QPrintPreviewDialog preview(&printer, parent);
    preview.setWindowTitle(Q(request.title));
    QObject::connect(&preview, &QPrintPreviewDialog::paintRequested, &preview,
                     [&request](QPrinter* p) { PrintPages(p, request); });
    preview.resize(900, 700);
    exec(preview);
}

}  // namespace pendara
