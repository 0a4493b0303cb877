#include "ui/qt/window_settings.h"

#include <QStringList>
#include <algorithm>
#include <string>

#include "host/settings.h"
#include "ui/qt/qt_text.h"

namespace pendara {

namespace {

QList<int> Numbers(const std::string& text) {
    QList<int> out;
    if (text.empty()) return out;
    for (const QString& part : Q(text).split(QLatin1Char(','))) {
        bool ok = false;
        // QString::toInt reads digits the same way whatever the locale.
        int v = part.trimmed().toInt(&ok);
        if (!ok) return {};
        out.append(v);
    }
    return out;
}

std::string Joined(const QList<int>& values) {
    QStringList parts;
    for (int v : values)
        parts.append(QString::number(v));
    return S(parts.join(QLatin1Char(',')));
}

std::string Value(const char* name) {
    return GetRegValue(name, kWindowSection).text();
}

}  // namespace

std::optional<WindowPlacement> LoadWindowPlacement() {
    const QList<int> g = Numbers(Value("Geometria"));
    if (g.size() != 4 || g[2] <= 0 || g[3] <= 0) return std::nullopt;
    WindowPlacement p;
    p.geometry = QRect(g[0], g[1], g[2], g[3]);
    p.maximised = GetRegValue("Maximizada", kWindowSection).asBool();
    p.columnWidths[0] = Numbers(Value("Columnas1"));
    p.columnWidths[1] = Numbers(Value("Columnas2"));
    return p;
}

void StoreWindowPlacement(const WindowPlacement& p) {
    SettingsBackend& reg = Registry();
    const std::string key = std::string(kRegistryRoot) + kWindowSection + "\\";
    if (!reg.OpenKey(key)) return;
    const QRect& g = p.geometry;
    reg.Store(key, "Geometria", Joined({g.x(), g.y(), g.width(), g.height()}));
    reg.Store(key, "Maximizada", p.maximised ? "Verdadero" : "Falso");
    reg.Store(key, "Columnas1", Joined(p.columnWidths[0]));
    reg.Store(key, "Columnas2", Joined(p.columnWidths[1]));
}

QRect FitOnScreen(const QRect& stored, const QRect& available, const QSize& minimum) {
    QSize size = stored.size().boundedTo(available.size()).expandedTo(minimum);
    QPoint topLeft = stored.topLeft();
    topLeft.setX(std::clamp(topLeft.x(), available.left(),
                            std::max(available.left(), available.right() + 1 - size.width())));
    topLeft.setY(std::clamp(topLeft.y(), available.top(),
                            std::max(available.top(), available.bottom() + 1 - size.height())));
    return QRect(topLeft, size);
}

}  // namespace pendara
