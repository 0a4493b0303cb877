#pragma once
// Qt's own dialogs (file, print, preview) in Spanish: the toolkit's translations as Debian ships
// them (package qt6-translations-l10n) and the Spanish locale as the toolkit's default.

class QCoreApplication;

namespace pendara {

// True when the toolkit's Spanish translation was found and installed.
bool InstallSpanishTranslations(QCoreApplication& app);

}  // namespace pendara
