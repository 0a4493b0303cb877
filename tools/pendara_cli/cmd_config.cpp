// pendara-cli config: the three matching options.

#include <iostream>
#include <optional>
#include <utility>

#include "cli/cli.h"
#include "host/settings.h"
#include "host/utf8.h"

namespace pendara::cli {
namespace {

int Run(const std::vector<std::string>& args) {
    Args a(args, {"--punteo0", "--punteo1", "--punteo2", "--mejorado"}, {});
    a.atMost(0);
    if (auto v = a.value("--punteo2"); v && *v != "0" && *v != "1")
        throw UsageError("--punteo2 vale 0 o 1, no \"" + *v + "\"");
    if (auto v = a.value("--mejorado"); v && *v != "0" && *v != "1")
        throw UsageError("--mejorado vale 0 o 1, no \"" + *v + "\"");
    // The configuration dialog keeps only the first character of the two marks.
    if (auto v = a.value("--punteo0")) SaveSetting("Punteo0", std::string(Utf8Left(*v, 1)), "");
    if (auto v = a.value("--punteo1")) SaveSetting("Punteo1", std::string(Utf8Left(*v, 1)), "");
    if (auto v = a.value("--punteo2")) SaveSetting("Punteo2", *v, "");
    if (auto v = a.value("--mejorado")) SaveSetting("PunteoMejorado", *v, "");
    // What is stored is what a save uses; an option never saved is shown empty and marked, since
    // a save then writes no mark (the configuration dialog would propose 1 and 0).
    for (const auto& [key, label] :
         {std::pair{"Punteo0", "Punteo Correcto"}, std::pair{"Punteo1", "Punteo Incorrecto"},
          std::pair{"Punteo2", "Forzar Punteo cuando saldo sea 0"}}) {
        const std::optional<std::string> stored = HostOptions().Query("", key);
        std::cout << key << '\t' << stored.value_or("") << '\t' << label
                  << (stored ? "" : "\t(sin guardar)") << '\n';
    }
    // Off when never saved, so it is listed only once it has been.
    if (const std::optional<std::string> stored = HostOptions().Query("", "PunteoMejorado"))
        std::cout << "PunteoMejorado\t" << *stored << "\tPunteo mejorado\n";
    return 0;
}

const Registrar reg{
    {"config", "muestra o cambia las opciones de punteo",
     "Uso: pendara-cli config [--punteo0 C] [--punteo1 C] [--punteo2 0|1] [--mejorado 0|1]\n\n"
     "Sin opciones escribe las tres opciones de punteo (una opción nunca guardada sale vacía\n"
     "y con \"(sin guardar)\" detrás). Con ellas las cambia y las escribe:\n"
     "  --punteo0 C   marca de los apuntes de una referencia que cuadra (Punteo Correcto);\n"
     "                se guarda el primer carácter\n"
     "  --punteo1 C   marca de los apuntes sin referencia RF- (Punteo Incorrecto)\n"
     "  --punteo2 N   1: al elegir una cuenta se fuerza el punteo donde el saldo vuelve a 0\n"
     "  --mejorado N  1: punteo mejorado (después de los pasos habituales, puntea por los\n"
     "                números de factura de cobros y pagos y por sumas exactas de importes);\n"
     "                se muestra en la lista una vez guardada",
     Run}};

}  // namespace
}  // namespace pendara::cli
