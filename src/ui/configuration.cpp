#include "ui/configuration.h"

#include <cmath>
#include <cstdint>
#include <string>

#include "host/conversions.h"
#include "host/qv_library.h"
#include "reports/menu.h"
#include "ui/pndra.h"

namespace pendara {

namespace {

const char* const kEnhancedItemKey = "PunteoMejorado";

// The stored mark as the 16-bit length of its item: the marks are single digits, so anything
// beyond the 16-bit range is clamped rather than wrapped.
std::int16_t MarkAsLength(const std::string& stored) {
    double v = std::nearbyint(LeadingNumber(stored));
    if (v > INT16_MAX) v = INT16_MAX;
    if (v < INT16_MIN) v = INT16_MIN;
    return static_cast<std::int16_t>(v);
}

// The first character of a UTF-8 text (a whole code point, not a lone byte).
std::string FirstCharacter(const std::string& s) {
    if (s.empty()) return "";
    auto lead = static_cast<unsigned char>(s[0]);
    std::size_t len = lead < 0x80 ? 1 : (lead >> 5) == 0x6 ? 2 : (lead >> 4) == 0xE ? 3 : 4;
    return s.substr(0, len);
}

}  // namespace

void ConfigurarPunteo(Pndra& w) {
    QvLibrary& lib = w.Lib();
    Menu menu(w);
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

    lib.SaveSetting("Punteo0", FirstCharacter(menu.GetText(1)), "", "");
    lib.SaveSetting("Punteo1", FirstCharacter(menu.GetText(2)), "", "");
    lib.SaveSetting("Punteo2", menu.GetText(3) == "1" ? "1" : "0", "", "");
    lib.SaveSetting(kEnhancedItemKey, menu.GetText(4) == "1" ? "1" : "0", "", "");
}

}  // namespace pendara
