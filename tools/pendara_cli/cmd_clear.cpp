// pendara-cli clear: removes one account's references and marks in every company.

#include <iostream>

#include "cli/cli.h"
#include "cmd_session.h"
#include "ui/main_window.h"

namespace pendara::cli {
namespace {

int Run(const std::vector<std::string>& args) {
    Args a(args, {}, {"--yes"});
    const std::string account = a.require(0, "la cuenta");
    a.atMost(1);
    Session s(a.flag("--yes"));
    s.Load();
    s.SelectAccountQuietly(account);
    s.Event([&] { Toolbar1_Click(s.window(), 78); });
    // The reload sets the active account; without it the question was answered No.
    if (s.window().CTA.text().empty()) {
        std::cerr << "No se ha borrado nada.\n";
        return 1;
    }
    PrintGrids(std::cout, s.window());
    return 0;
}

const Registrar reg{
    {"clear", "borra referencias y punteo de una cuenta en todas las empresas",
     "Uso: pendara-cli clear CUENTA [--yes]\n\n"
     "Vacía la referencia de punteo y pone la marca a 0 en todos los apuntes de CUENTA de\n"
     "todas las empresas del grupo; después la carga, la puntea y la guarda de nuevo, y\n"
     "escribe las partidas pendientes como \"save\". Pregunta antes, salvo con --yes.",
     Run}};

}  // namespace
}  // namespace pendara::cli
