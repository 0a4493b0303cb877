// pendara-cli run: the unattended start the host package makes with an account.

#include <iostream>

#include "cli/cli.h"
#include "cmd_session.h"
#include "host/errors.h"
#include "ui/main_window.h"

namespace pendara::cli {
namespace {

int Run(const std::vector<std::string>& args) {
    Args a(args, {}, {});
    const std::string account = a.require(0, "la cuenta");
    a.atMost(1);
    Session s(false, account);
    s.Load();
    s.Event([&] { Form_Activate(s.window()); });
    if (s.window().List2.ListIndex() < 0)
        throw HostError("la cuenta " + account +
                        " no está entre las cuentas de la lista; no se hace nada");
    PrintGrids(std::cout, s.window());
    return 0;
}

const Registrar reg{
    {"run", "arranque desatendido con una cuenta",
     "Uso: pendara-cli run CUENTA\n\n"
     "Arranca como cuando el programa contable lo llama con CUENTA en la línea de órdenes:\n"
     "lista las cuentas que empiezan por CUENTA, selecciona la primera que la contiene, la\n"
     "carga, la puntea y la guarda. Si la cuenta no está en la lista no se hace nada y la\n"
     "orden termina con error.\n\n"
     "Escribe lo mismo que \"pendara-cli save\": las partidas pendientes y \"newref\".",
     Run}};

}  // namespace
}  // namespace pendara::cli
