#include "ui/qt/translations.h"

#include <QCoreApplication>
#include <QLibraryInfo>
#include <QLocale>
#include <QTranslator>

namespace pendara {

bool InstallSpanishTranslations(QCoreApplication& app) {
    const QLocale spanish(QLocale::Spanish, QLocale::Spain);
    QLocale::setDefault(spanish);
    auto* translator = new QTranslator(&app);
    const QString folder = QLibraryInfo::path(QLibraryInfo::TranslationsPath);
    if (!translator->load(spanish, QStringLiteral("qtbase"), QStringLiteral("_"), folder)) {
        delete translator;
        return false;
    }
    QCoreApplication::installTranslator(translator);
    return true;
}

}  // namespace pendara
