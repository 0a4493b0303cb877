// pendara-cli list: the account list of the active company.

#include <iostream>

#include "cli/cli.h"
#include "cmd_session.h"

namespace pendara::cli {
namespace {

int Run(const std::vector<std::string>& args) {
    Args a(args, {}, {"--pending"});
    a.atMost(1);
    const std::string mask = a.positional().empty() ? "" : a.positional()[0];
    Headless h(false);
    h.Load();
    PrintList(std::cout, h.List(mask, a.flag("--pending")));
    return 0;
}

const Registrar reg{{"list", "lista las cuentas de la empresa activa",
                     "Uso: pendara-cli list [MASCARA] [--pending]\n\n"
                     "Escribe las cuentas de detalle de la empresa activa cuyo código empieza por\n"
                     "MASCARA (todas cuando falta), una por línea: código, un blanco y nombre.\n\n"
                     "  --pending   sólo las cuentas con saldo distinto de 0 y algún apunte sin\n"
                     "              referencia RF- ni marca de punteo",
                     Run}};

}  // namespace
}  // namespace pendara::cli
