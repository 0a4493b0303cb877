#include "ui/qt/gauge_widget.h"

#include <QFontMetrics>
#include <QPainter>
#include <QResizeEvent>

#include "ui/qt/qt_text.h"

namespace pendara {

QColor FromBgr(std::uint32_t bgr) {
    return QColor(static_cast<int>(bgr & 0xFF), static_cast<int>((bgr >> 8) & 0xFF),
                  static_cast<int>((bgr >> 16) & 0xFF));
}

QColor GaugeWidget::Background() {
    return QColor(0xF0, 0xF0, 0xF0);
}

GaugeWidget::GaugeWidget(QWidget* parent) : QWidget(parent), image_(1, 1) {
    image_.fill(Background());
    setAttribute(Qt::WA_OpaquePaintEvent);
}

void GaugeWidget::Cls() {
    image_.fill(Background());
    // Clearing shows at once: a cleared gauge must not keep showing the last bar.
    update();
}

void GaugeWidget::Refresh() {
    // Painted now: the run that draws does not give the event loop a turn before its next step.
    if (isVisible()) repaint();
}

double GaugeWidget::TextWidth(const std::string& text) const {
    return QFontMetrics(font()).horizontalAdvance(Q(text));
}

double GaugeWidget::TextHeight(const std::string&) const {
    return QFontMetrics(font()).height();
}

void GaugeWidget::FillBox(double x1, double y1, double x2, double y2, std::uint32_t bgr) {
    QPainter p(&image_);
    p.fillRect(QRectF(QPointF(x1, y1), QPointF(x2, y2)).normalized(), FromBgr(bgr));
    if (!autoRedraw_) update();
}

void GaugeWidget::PrintText(double x, double y, const std::string& text) {
    QPainter p(&image_);
    p.setFont(font());
    p.setPen(FromBgr(foreColor_));
    QFontMetrics fm(font());
    p.drawText(QPointF(x, y + fm.ascent()), Q(text));
    if (!autoRedraw_) update();
}

void GaugeWidget::paintEvent(QPaintEvent*) {
    QPainter p(this);
    p.drawPixmap(0, 0, image_);
}

void GaugeWidget::resizeEvent(QResizeEvent* event) {
    QSize s = event->size().expandedTo(QSize(1, 1));
    QPixmap next(s);
    next.fill(Background());
    {
        QPainter p(&next);
        p.drawPixmap(0, 0, image_);
    }
    image_ = next;
}

}  // namespace pendara
