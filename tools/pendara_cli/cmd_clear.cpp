// pendara-cli clear: removes one account's references and marks in every company.

#include <iostream>

#include "cli/cli.h"
#include "cmd_session.h"
#include "group/group_commands.h"

namespace pendara::cli {
namespace {

int Run(const std::vector<std::string>& args) {
    Args a(args, {}, {"--yes"});
    const std::string account = a.require(0, "la cuenta");
    a.atMost(1);
    Headless h(a.flag("--yes"));
    h.Load();
    const std::string entry = h.EntryOf(account);
    if (h.port().MsgBox(ClearAccountQuestion(entry), kVbYesNo | kVbInformation | kVbDefaultButton2,
                        kDefaultTitle) != kVbYes) {
        std::cerr << "No se ha borrado nada.\n";
        return 1;
    }
    std::int32_t cleared = 0;
    h.Event([&] { cleared = ClearAccount(h.session(), entry); });
    const AccountOutcome outcome = h.Process(h.Request(entry, false));
    std::cerr << "Apuntes vaciados: " << cleared << "\n";
    RunSummary summary;
    summary.total = 1;
    summary.AddAccount(outcome);
    PrintSummary(std::cerr, summary, false);
    PrintGrids(std::cout, outcome.last());
    return 0;
}

const Registrar reg{
    {"clear", "borra referencias y punteo de una cuenta en todas las empresas",
     "Uso: pendara-cli clear CUENTA [--yes]\n\n"
     "Vacía la referencia de punteo y pone la marca a 0 en todos los apuntes de CUENTA de\n"
     "todas las empresas del grupo; después la carga, la puntea y la guarda de nuevo, y\n"
     "escribe las partidas pendientes como \"save\". Pregunta antes, salvo con --yes.\n"
     "En la salida de errores dice cuántos apuntes vació y el resumen de la nueva grabación.",
     Run}};

}  // namespace
}  // namespace pendara::cli
