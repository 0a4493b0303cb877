#include "ui/qt/report_view.h"

#include <QFontMetricsF>
#include <QGuiApplication>
#include <QPageLayout>
#include <QPageSize>
#include <QPrintDialog>
#include <QPrintPreviewDialog>
#include <QPrinter>
#include <QScreen>

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

double ScreenDpi() {
    QScreen* s = QGuiApplication::primaryScreen();
    return s ? s->logicalDotsPerInch() : 96.0;
}

void PrintPages(QPrinter* printer, const ReportRequest& request) {
    printer->setFullPage(true);
    QPageSize a4(QPageSize::A4);
    printer->setPageSize(a4);
    QSizeF pt = a4.size(QPageSize::Point);
    ReportPageSize size;
    size.width = pt.width();
    size.height = pt.height();
    ReportLayout layout = LayoutWithQtFonts(request, size);
    QPainter painter(printer);
    double scale = printer->resolution() / 72.0;
    for (std::size_t i = 0; i < layout.pages.size(); ++i) {
        if (i > 0) printer->newPage();
        PaintReportPage(painter, layout.pages[i], scale);
    }
}

}  // namespace

ReportLayout LayoutWithQtFonts(const ReportRequest& request, const ReportPageSize& size) {
    const double dpi = ScreenDpi();
    auto measure = [dpi](const std::string& text, ReportFontStyle style, double pointSize) {
        QFontMetricsF fm(ReportFont(style, pointSize));
        return fm.horizontalAdvance(Q(text)) * 72.0 / dpi;
    };
    return LayoutReport(request, size, measure);
}

void PaintReportPage(QPainter& painter, const LaidPage& page, double scale) {
    painter.save();
    for (const LaidRule& r : page.rules) {
        painter.setPen(QPen(Qt::black, std::max(1.0, r.width * scale)));
        painter.drawLine(QPointF(r.x1 * scale, r.y1 * scale), QPointF(r.x2 * scale, r.y2 * scale));
    }
    painter.setPen(Qt::black);
    for (const LaidText& t : page.texts) {
        painter.setFont(ReportFont(t.style, t.size));
        painter.drawText(QPointF(t.x * scale, t.y * scale), Q(t.text));
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
