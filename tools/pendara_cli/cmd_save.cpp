// pendara-cli save: what a click on an account of the list does.

#include <iostream>

#include "cli/cli.h"
#include "cmd_session.h"

namespace pendara::cli {
namespace {

int Run(const std::vector<std::string>& args) {
    Args a(args, {}, {"--mejorado"});
    const std::string account = a.require(0, "la cuenta");
    a.atMost(1);
    Headless h(false);
    h.Load();
    const AccountOutcome outcome = h.Process(h.Request(h.EntryOf(account), a.flag("--mejorado")));
    PrintGrids(std::cout, outcome.last());
    return 0;
}

const Registrar reg{
    {"save", "carga, puntea y guarda una cuenta",
     "Uso: pendara-cli save CUENTA [--mejorado]\n\n"
     "Hace lo que hace un clic en la cuenta de la lista: carga sus apuntes de todos los\n"
     "ejercicios, los puntea automáticamente, guarda referencias y marcas en la contabilidad\n"
     "y, cuando la opción Punteo2 vale 1, fuerza el punteo donde el saldo vuelve a 0.\n\n"
     "Después escribe las partidas que siguen pendientes, una por línea: \"1\" (debe) o\n"
     "\"2\" (haber), TAB y las 8 celdas de la fila separadas por TAB (registro, fecha,\n"
     "asiento, descripción, referencia, importe, empresa, marca); y al final \"newref\",\n"
     "TAB y la siguiente referencia.\n\n"
     "  --mejorado  punteo mejorado en esta ejecución, aunque la opción PunteoMejorado no\n"
     "              esté activada (ver \"pendara-cli config\")",
     Run}};

}  // namespace
}  // namespace pendara::cli
