// pendara-cli save: what a click on an account of the list does.

#include <iostream>
#include <optional>

#include "cli/cli.h"
#include "cmd_session.h"
#include "posting/posting_runs.h"

namespace pendara::cli {
namespace {

int Run(const std::vector<std::string>& args) {
    Args a(args, {}, {"--mejorado", "--dry-run"});
    const std::string account = a.require(0, "la cuenta");
    a.atMost(1);
    const bool preview = a.flag("--dry-run");
    Headless h(false);
    h.Load();
    const std::string entry = h.EntryOf(account);
    std::optional<DryRun> dry;
    if (preview) dry.emplace(h.session());
    const AccountOutcome outcome = h.Process(h.Request(entry, a.flag("--mejorado")));
    RunSummary summary;
    summary.total = 1;
    summary.AddAccount(outcome);
    PrintSummary(std::cerr, summary, preview);
    if (preview)
        PrintChanges(std::cout, ChangesOf(outcome));
    else
        PrintGrids(std::cout, outcome.last());
    return 0;
}

const Registrar reg{
    {"save", "carga, puntea y guarda una cuenta",
     "Uso: pendara-cli save CUENTA [--mejorado] [--dry-run]\n\n"
     "Hace lo que hace un clic en la cuenta de la lista: carga sus apuntes de todos los\n"
     "ejercicios, los puntea automáticamente, guarda referencias y marcas en la contabilidad\n"
     "y, cuando la opción Punteo2 vale 1, fuerza el punteo donde el saldo vuelve a 0.\n\n"
     "Después escribe las partidas que siguen pendientes, una por línea: \"1\" (debe) o\n"
     "\"2\" (haber), TAB y las 8 celdas de la fila separadas por TAB (registro, fecha,\n"
     "asiento, descripción, referencia, importe, empresa, marca); y al final \"newref\",\n"
     "TAB y la siguiente referencia.\n\n"
     "En la salida de errores escribe un resumen: partidas escritas (las que cambian de\n"
     "referencia o de marca), referencias creadas, grupos cuadrados y descuadrados, y\n"
     "partidas pendientes con su saldo (debe menos haber).\n\n"
     "  --mejorado  punteo mejorado en esta ejecución, aunque la opción PunteoMejorado no\n"
     "              esté activada (ver \"pendara-cli config\")\n"
     "  --dry-run   simulación: no escribe nada, ni la contabilidad ni el contador de\n"
     "              referencias. Escribe el resumen y, en vez de las partidas pendientes,\n"
     "              las partidas que cambiarían, una por línea: empresa, registro,\n"
     "              referencia y marca de antes, \"->\", referencia y marca de después,\n"
     "              separadas por TAB. Las referencias nuevas llevan detrás \" (provisional)\":\n"
     "              son las que daría el contador ahora; otro puesto que puntee antes de la\n"
     "              ejecución real puede hacer que sean otras.",
     Run}};

}  // namespace
}  // namespace pendara::cli
