#pragma once
// Conversions between the core's UTF-8 texts and Qt's strings.

#include <QString>
#include <string>

namespace pendara {

inline QString Q(const std::string& s) {
    return QString::fromStdString(s);
}
inline std::string S(const QString& s) {
    return s.toStdString();
}

}  // namespace pendara
