#include "ui/qt/grid_filter.h"

#include <QRegularExpression>
#include <QStringList>

namespace pendara {

namespace {

// At most this many digits before the decimal mark: far beyond any amount the grids show.
constexpr int kMaxIntegerDigits = 13;

std::optional<long long> Digits(const QString& s) {
    if (s.isEmpty() || s.size() > kMaxIntegerDigits) return std::nullopt;
    long long v = 0;
    for (QChar c : s) {
        if (!c.isDigit()) return std::nullopt;
        v = v * 10 + c.digitValue();
    }
    return v;
}

std::optional<long long> WithDecimals(const QString& integer, const QString& decimals) {
    if (decimals.size() > 2) return std::nullopt;
    std::optional<long long> whole = Digits(integer);
    if (!whole) return std::nullopt;
    long long cents = *whole * 100;
    if (!decimals.isEmpty()) {
        std::optional<long long> part = Digits(decimals);
        if (!part) return std::nullopt;
        cents += decimals.size() == 1 ? *part * 10 : *part;
    }
    return cents;
}

}  // namespace

std::optional<long long> GridFilter::Cents(const QString& text) {
    QString t = text.trimmed();
    if (t.startsWith(QLatin1Char('-')) || t.startsWith(QLatin1Char('+'))) t = t.mid(1);
    if (t.isEmpty() || !t.front().isDigit()) return std::nullopt;
    const qsizetype comma = t.indexOf(QLatin1Char(','));
    if (comma >= 0) {
        if (t.indexOf(QLatin1Char(','), comma + 1) >= 0) return std::nullopt;
        QString integer = t.left(comma);
        static const QRegularExpression grouped(QStringLiteral("^\\d{1,3}(\\.\\d{3})*$"));
        if (integer.contains(QLatin1Char('.')) && !grouped.match(integer).hasMatch())
            return std::nullopt;
        return WithDecimals(integer.remove(QLatin1Char('.')), t.mid(comma + 1));
    }
    static const QRegularExpression thousands(QStringLiteral("^\\d{1,3}(\\.\\d{3})+$"));
    if (thousands.match(t).hasMatch()) return WithDecimals(QString(t).remove(QLatin1Char('.')), {});
    const qsizetype dot = t.indexOf(QLatin1Char('.'));
    if (dot >= 0) return WithDecimals(t.left(dot), t.mid(dot + 1));
    return WithDecimals(t, {});
}

std::optional<int> GridFilter::Day(const QString& text) {
    const QStringList parts = text.trimmed().split(QLatin1Char('/'));
    if (parts.size() != 3) return std::nullopt;
    const QString& d = parts[0];
    const QString& m = parts[1];
    const QString& y = parts[2];
    if (d.size() < 1 || d.size() > 2 || m.size() < 1 || m.size() > 2) return std::nullopt;
    if (y.size() != 2 && y.size() != 4) return std::nullopt;
    std::optional<long long> day = Digits(d), month = Digits(m), year = Digits(y);
    if (!day || !month || !year) return std::nullopt;
    if (*day < 1 || *day > 31 || *month < 1 || *month > 12) return std::nullopt;
    long long fullYear = *year;
    if (y.size() == 2) fullYear += *year < 60 ? 2000 : 1900;
    return static_cast<int>(fullYear * 10000 + *month * 100 + *day);
}

GridFilter::GridFilter(const QString& text) {
    static const QRegularExpression blanks(QStringLiteral("\\s+"));
    for (const QString& word : text.split(blanks, Qt::SkipEmptyParts)) {
        Term t;
        t.text = word;
        const std::pair<const char*, Kind> comparisons[] = {
            {">=", Kind::AtLeast}, {"<=", Kind::AtMost}, {">", Kind::Above}, {"<", Kind::Below}};
        bool done = false;
        for (const auto& [sign, kind] : comparisons) {
            const QString s = QString::fromLatin1(sign);
            if (!word.startsWith(s)) continue;
            if (std::optional<long long> c = Cents(word.mid(s.size()))) {
                t.kind = kind;
                t.low = *c;
                done = true;
            }
            break;
        }
        const qsizetype range = word.indexOf(QStringLiteral(".."));
        if (!done && range > 0) {
            const QString from = word.left(range);
            const QString to = word.mid(range + 2);
            std::optional<int> d1 = Day(from), d2 = Day(to);
            std::optional<long long> a1 = Cents(from), a2 = Cents(to);
            if (d1 && d2) {
                t.kind = Kind::Days;
                t.low = std::min(*d1, *d2);
                t.high = std::max(*d1, *d2);
                done = true;
            } else if (a1 && a2) {
                t.kind = Kind::Amounts;
                t.low = std::min(*a1, *a2);
                t.high = std::max(*a1, *a2);
                done = true;
            }
        }
        if (!done) {
            t.cents = Cents(word);
            t.day = Day(word);
        }
        terms_.push_back(t);
    }
}

bool GridFilter::Meets(const Term& t, const GridRowTexts& row) {
    auto amount = [&row] { return Cents(row.amount); };
    switch (t.kind) {
        case Kind::Above: {
            std::optional<long long> a = amount();
            return a && *a > t.low;
        }
        case Kind::AtLeast: {
            std::optional<long long> a = amount();
            return a && *a >= t.low;
        }
        case Kind::Below: {
            std::optional<long long> a = amount();
            return a && *a < t.low;
        }
        case Kind::AtMost: {
            std::optional<long long> a = amount();
            return a && *a <= t.low;
        }
        case Kind::Amounts: {
            std::optional<long long> a = amount();
            return a && *a >= t.low && *a <= t.high;
        }
        case Kind::Days: {
            std::optional<int> d = Day(row.date);
            return d && *d >= t.low && *d <= t.high;
        }
        case Kind::Text:
            break;
    }
    for (const QString* cell : {&row.date, &row.entry, &row.description, &row.reference})
        if (cell->contains(t.text, Qt::CaseInsensitive)) return true;
    if (row.amount.trimmed().contains(t.text, Qt::CaseInsensitive)) return true;
    if (t.cents && amount() == t.cents) return true;
    if (t.day && Day(row.date) == t.day) return true;
    return false;
}

bool GridFilter::Matches(const GridRowTexts& row) const {
    for (const Term& t : terms_)
        if (!Meets(t, row)) return false;
    return true;
}

}  // namespace pendara
