#include "ui/qt/report_view.h"

#include <QPageLayout>
#include <QPageSize>
#include <QPrintDialog>
#include <QPrintPreviewDialog>
#include <QPrinter>
#include <QStringList>

#include "ui/qt/qt_text.h"

namespace pendara {

namespace {

QString Escape(const QString& s) {
    return s.toHtmlEscaped();
}

}  // namespace

std::unique_ptr<QTextDocument> BuildReportDocument(const ReportRequest& request) {
    QStringList columns = Q(request.columns).split(QLatin1Char(','));
    QStringList aligns = Q(request.alignments).split(QLatin1Char(','));
    auto alignOf = [&](int c) {
        // 3 marks an amount column: right aligned.
        return c < aligns.size() && aligns[c].trimmed() == QLatin1String("3")
                   ? QStringLiteral("right")
                   : QStringLiteral("left");
    };
    QString html;
    html += QStringLiteral("<html><body style=\"font-family:'DejaVu Sans'; font-size:8pt\">");
    html += QStringLiteral("<h3>%1</h3>").arg(Escape(Q(request.title)));
    html += QStringLiteral("<p>%1 &nbsp;&nbsp; %2</p>")
                .arg(Escape(Q(request.companyName)), Escape(Q(request.date)));
    html += QStringLiteral("<table width=\"100%\" cellspacing=\"0\" cellpadding=\"2\"><tr>");
    for (int c = 0; c < columns.size(); ++c)
        html += QStringLiteral("<th align=\"%1\" style=\"border-bottom:1px solid black\">%2</th>")
                    .arg(alignOf(c), Escape(columns[c]));
    html += QStringLiteral("</tr>");
    QStringList lines = Q(request.text).split(QStringLiteral("\r\n"));
    if (!lines.isEmpty() && lines.back().isEmpty()) lines.removeLast();
    for (const QString& line : lines) {
        QStringList fields = line.split(QLatin1Char('\t'));
        html += QStringLiteral("<tr>");
        if (line.startsWith(QLatin1Char('_'))) {
            html += QStringLiteral("<td colspan=\"%1\"><b>%2</b></td>")
                        .arg(columns.size())
                        .arg(Escape(line.mid(1)));
        } else {
            for (int c = 0; c < columns.size(); ++c)
                html += QStringLiteral("<td align=\"%1\">%2</td>")
                            .arg(alignOf(c), c < fields.size() ? Escape(fields[c]) : QString());
        }
        html += QStringLiteral("</tr>");
    }
    html += QStringLiteral("</table></body></html>");
    auto doc = std::make_unique<QTextDocument>();
    doc->setHtml(html);
    return doc;
}

void ShowReportDialog(const ReportRequest& request, ReportScreenTarget target, QWidget* parent,
                      const std::function<int(QDialog&)>& exec) {
    std::unique_ptr<QTextDocument> doc = BuildReportDocument(request);
    QPrinter printer(QPrinter::HighResolution);
    printer.setPageSize(QPageSize(QPageSize::A4));
    printer.setDocName(Q(request.title));
    if (target == ReportScreenTarget::Printer) {
        QPrintDialog dlg(&printer, parent);
        dlg.setWindowTitle(Q(request.title));
        if (exec(dlg) == QDialog::Accepted) doc->print(&printer);
        return;
    }
    QPrintPreviewDialog preview(&printer, parent);
    preview.setWindowTitle(Q(request.title));
    QObject::connect(&preview, &QPrintPreviewDialog::paintRequested, &preview,
                     [&doc](QPrinter* p) { doc->print(p); });
    preview.resize(900, 700);
    exec(preview);
}

}  // namespace pendara
