#include "ui/qt/icons.h"

#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>

namespace pendara {

namespace {

struct ButtonArt {
    int key;
    const char* themeName;
    QColor colour;
};

const ButtonArt kArt[] = {
    {80, "go-previous", QColor(0x2E, 0x6D, 0xB4)},
    {20, "go-next", QColor(0x2E, 0x6D, 0xB4)},
    {23, "x-office-address-book", QColor(0x5C, 0x6B, 0x7A)},
    {78, "edit-clear", QColor(0xC0, 0x39, 0x2B)},
    {17, "document-save", QColor(0x27, 0x8E, 0x4B)},
    {25, "document-print-preview", QColor(0x7D, 0x4E, 0xA8)},
    {8, "view-list-details", QColor(0x2E, 0x86, 0x9B)},
    {12, "preferences-system", QColor(0x6B, 0x6B, 0x6B)},
    {13, "edit-clear-all", QColor(0xA0, 0x40, 0x20)},
    {112, "help-browser", QColor(0x1F, 0x7A, 0xC4)},
    {117, "zoom-fit-best", QColor(0xD3, 0x8B, 0x10)},
    {21, "process-stop", QColor(0xC0, 0x20, 0x20)},
    {2, "document-save", QColor(0x27, 0x8E, 0x4B)},
};

const ButtonArt* ArtFor(int key) {
    for (const ButtonArt& a : kArt)
        if (a.key == key) return &a;
    return nullptr;
}

void Arrow(QPainter& p, double s, bool right) {
    QPainterPath path;
    double m = s * 0.25;
    if (right) {
        path.moveTo(m, s * 0.38);
        path.lineTo(s * 0.52, s * 0.38);
        path.lineTo(s * 0.52, s * 0.2);
        path.lineTo(s - m * 0.6, s / 2);
        path.lineTo(s * 0.52, s * 0.8);
        path.lineTo(s * 0.52, s * 0.62);
        path.lineTo(m, s * 0.62);
    } else {
        path.moveTo(s - m, s * 0.38);
        path.lineTo(s * 0.48, s * 0.38);
        path.lineTo(s * 0.48, s * 0.2);
        path.lineTo(m * 0.6, s / 2);
        path.lineTo(s * 0.48, s * 0.8);
        path.lineTo(s * 0.48, s * 0.62);
        path.lineTo(s - m, s * 0.62);
    }
    path.closeSubpath();
    p.fillPath(path, Qt::white);
}

void Glyph(QPainter& p, double s, const QString& text, double scale = 0.62) {
    QFont f = p.font();
    f.setBold(true);
    f.setPixelSize(std::max(6, static_cast<int>(s * scale)));
    p.setFont(f);
    p.setPen(Qt::white);
    p.drawText(QRectF(0, 0, s, s), Qt::AlignCenter, text);
}

void Lines(QPainter& p, double s, int n) {
    p.setPen(QPen(Qt::white, std::max(1.0, s / 12)));
    for (int i = 0; i < n; ++i) {
        double y = s * (0.3 + 0.4 * i / std::max(1, n - 1));
        p.drawLine(QPointF(s * 0.25, y), QPointF(s * 0.75, y));
    }
}

}  // namespace

QPixmap DrawnToolbarPicture(int key, int size) {
    QPixmap pm(size, size);
    pm.fill(Qt::transparent);
    QPainter p(&pm);
    p.setRenderHint(QPainter::Antialiasing);
    const ButtonArt* art = ArtFor(key);
    QColor c = art ? art->colour : QColor(0x80, 0x80, 0x80);
    double s = size;
    QRectF box(0.5, 0.5, s - 1, s - 1);
    QLinearGradient g(0, 0, 0, s);
    g.setColorAt(0, c.lighter(125));
    g.setColorAt(1, c.darker(115));
    p.setPen(QPen(c.darker(150), 1));
    p.setBrush(g);
    p.drawRoundedRect(box, s * 0.2, s * 0.2);
    switch (key) {
        case 80:
            Arrow(p, s, false);
            break;
        case 20:
            Arrow(p, s, true);
            break;
        case 23:
            Glyph(p, s, QStringLiteral("E"));
            break;
        case 78:
            Glyph(p, s, QString(QChar(0x2716)), 0.58);
            break;
        case 17:
        case 2: {
            // a diskette
            p.setPen(Qt::NoPen);
            p.setBrush(Qt::white);
            p.drawRect(QRectF(s * 0.22, s * 0.22, s * 0.56, s * 0.56));
            p.setBrush(c.darker(120));
            p.drawRect(QRectF(s * 0.32, s * 0.22, s * 0.36, s * 0.2));
            p.drawRect(QRectF(s * 0.3, s * 0.55, s * 0.4, s * 0.23));
            break;
        }
        case 25: {
            // a page with lines
            p.setPen(Qt::NoPen);
            p.setBrush(Qt::white);
            p.drawRect(QRectF(s * 0.25, s * 0.17, s * 0.5, s * 0.66));
            p.setPen(QPen(c, std::max(1.0, s / 14)));
            for (int i = 0; i < 4; ++i) {
                double y = s * (0.3 + 0.13 * i);
                p.drawLine(QPointF(s * 0.32, y), QPointF(s * 0.68, y));
            }
            break;
        }
        case 8:
            Lines(p, s, 4);
            break;
        case 12:
            Glyph(p, s, QString(QChar(0x2699)), 0.72);
            break;
        case 13:
            Glyph(p, s, QStringLiteral("\u2716\u2716"), 0.34);
            break;
        case 112:
            Glyph(p, s, QStringLiteral("?"), 0.7);
            break;
        case 117:
            Glyph(p, s, QStringLiteral("0"), 0.66);
            break;
        case 21: {
            QPolygonF oct;
            for (int i = 0; i < 8; ++i) {
                double a = (22.5 + 45.0 * i) * 3.14159265358979 / 180.0;
                oct << QPointF(s / 2 + s * 0.32 * std::cos(a), s / 2 + s * 0.32 * std::sin(a));
            }
            p.setPen(Qt::NoPen);
            p.setBrush(Qt::white);
            p.drawPolygon(oct);
            p.setBrush(c);
            p.drawRect(QRectF(s * 0.36, s * 0.36, s * 0.28, s * 0.28));
            break;
        }
        default:
            Glyph(p, s, QString::number(key), 0.4);
            break;
    }
    return pm;
}

QIcon ToolbarIcon(int key) {
    const ButtonArt* art = ArtFor(key);
    if (art) {
        QIcon themed = QIcon::fromTheme(QString::fromLatin1(art->themeName));
        if (!themed.isNull() && !themed.availableSizes().isEmpty()) return themed;
    }
    QIcon icon;
    for (int size : {16, 20, 24, 32})
        icon.addPixmap(DrawnToolbarPicture(key, size));
    return icon;
}

QPixmap StatusPicture(int index, int size) {
    QPixmap pm(size, size);
    pm.fill(Qt::transparent);
    QPainter p(&pm);
    p.setRenderHint(QPainter::Antialiasing);
    double s = size;
    QColor c = index == 0 ? QColor(0x2E, 0x9E, 0x4F) : QColor(0xD0, 0x30, 0x30);
    QRadialGradient g(QPointF(s * 0.4, s * 0.35), s * 0.6);
    g.setColorAt(0, c.lighter(150));
    g.setColorAt(1, c);
    p.setPen(QPen(c.darker(140), 1));
    p.setBrush(g);
    p.drawEllipse(QRectF(1, 1, s - 2, s - 2));
    p.setPen(QPen(Qt::white, std::max(2.0, s / 9), Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    if (index == 0) {
        QPainterPath tick;
        tick.moveTo(s * 0.28, s * 0.52);
        tick.lineTo(s * 0.44, s * 0.68);
        tick.lineTo(s * 0.73, s * 0.34);
        p.setBrush(Qt::NoBrush);
        p.drawPath(tick);
    } else {
        p.drawLine(QPointF(s / 2, s * 0.25), QPointF(s / 2, s * 0.58));
        p.drawPoint(QPointF(s / 2, s * 0.74));
    }
    return pm;
}

QPixmap BackgroundPicture(QSize size) {
    QPixmap pm(size.expandedTo(QSize(1, 1)));
    QPainter p(&pm);
    p.setRenderHint(QPainter::Antialiasing);
    QLinearGradient g(0, 0, size.width(), size.height());
    g.setColorAt(0, QColor(0x1F, 0x3A, 0x5F));
    g.setColorAt(1, QColor(0x3C, 0x6E, 0x9E));
    p.fillRect(pm.rect(), g);
    // ledger lines with tick marks
    p.setPen(QPen(QColor(255, 255, 255, 40), 1));
    for (int y = size.height() / 6; y < size.height(); y += size.height() / 6)
        p.drawLine(0, y, size.width(), y);
    QFont f = p.font();
    f.setBold(true);
    f.setPixelSize(std::max(8, size.height() * 2 / 5));
    p.setFont(f);
    p.setPen(Qt::white);
    QRect top(size.width() / 20, 0, size.width(), size.height() * 3 / 5);
    p.drawText(top, Qt::AlignLeft | Qt::AlignBottom, QStringLiteral("Pendara"));
    f.setBold(false);
    f.setPixelSize(std::max(6, size.height() / 7));
    p.setFont(f);
    p.setPen(QColor(0xDD, 0xE8, 0xF3));
    QRect bottom(size.width() / 20, size.height() * 3 / 5, size.width(), size.height() * 2 / 5);
    p.drawText(bottom, Qt::AlignLeft | Qt::AlignTop,
               QStringLiteral("Punteo automático de cuentas"));
    // a large tick in the corner
    p.setPen(QPen(QColor(0x8F, 0xD1, 0x9E), std::max(2, size.height() / 14), Qt::SolidLine,
                  Qt::RoundCap, Qt::RoundJoin));
    double h = size.height();
    double x0 = size.width() - h * 0.9;
    QPainterPath tick;
    tick.moveTo(x0, h * 0.5);
    tick.lineTo(x0 + h * 0.2, h * 0.72);
    tick.lineTo(x0 + h * 0.6, h * 0.25);
    p.drawPath(tick);
    return pm;
}

}  // namespace pendara
