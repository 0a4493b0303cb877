#include "ui/configuration.h"

#include <cmath>
#include <cstdint>
#include <string>

#include "host/conversions.h"
#include "host/qv_library.h"
#include "host/utf8.h"
#include "matching/matching_run.h"
#include "reports/menu.h"
#include "ui/pndra.h"

namespace pendara {

namespace {

const char* const kEnhancedItemKey = kEnhancedSetting;

// The stored mark as the 16-bit length of its item: the marks are single digits, so anything
// beyond the 16-bit range is clamped rather than wrapped.
std::int16_t MarkAsLength(const std::string& stored) {
    double v = std::nearbyint(LeadingNumber(stored));
    if (v > INT16_MAX) v = INT16_MAX;
    if (v < INT16_MIN) v = INT16_MIN;
    return static_cast<std::int16_t>(v);
}

}  // namespace

void ConfigurarPunteo(Pndra& w) {
    QvLibrary& lib = w.session.Lib();
    Menu menu(w.session);
    menu.caption = "Configuración de Punteo";
    const std::string correct = lib.GetSetting("Punteo0", "", "1", "");
    menu.AddItem("Punteo Correcto", 61, MarkAsLength(correct), "");
    const std::string wrong = lib.GetSetting("Punteo1", "", "0", "");
    menu.AddItem("Punteo Incorrecto", 61, MarkAsLength(wrong), "");
    const std::string forced = lib.GetSetting("Punteo2", "", "0", "");
    menu.AddItem("Forzar Punteo cuando saldo sea 0", 30, 1, MenuNumberText(LeadingNumber(forced)));
    const std::string enhanced = lib.GetSetting(kEnhancedItemKey, "", "0", "");
    menu.AddItem("Punteo mejorado (números de factura y sumas exactas)", 30, 1,
                 enhanced == "1" ? "1" : "0");
    if (!menu.Show()) return;

    lib.SaveSetting("Punteo0", std::string(Utf8Left(menu.GetText(1), 1)), "", "");
    lib.SaveSetting("Punteo1", std::string(Utf8Left(menu.GetText(2), 1)), "", "");
    lib.SaveSetting("Punteo2", menu.GetText(3) == "1" ? "1" : "0", "", "");
    lib.SaveSetting(kEnhancedItemKey, menu.GetText(4) == "1" ? "1" : "0", "", "");
}

}  // namespace pendara
