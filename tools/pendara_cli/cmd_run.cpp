// pendara-cli run: the unattended start the host package makes with an account.

#include <iostream>

#include "cli/cli.h"
#include "cmd_session.h"
#include "host/errors.h"
#include "host/utf8.h"

namespace pendara::cli {
namespace {

int Run(const std::vector<std::string>& args) {
    Args a(args, {}, {});
    const std::string account = a.require(0, "la cuenta");
    a.atMost(1);
    Headless h(false);
    h.Load();
    // The start with a command line: the full list of the accounts that begin with it, the
    // first entry that contains it clicked, then saved once more.
    std::string entry;
    bool found = false;
    for (const std::string& e : h.List(account, false))
        if (!found && Utf8Contains(e, account)) {
            entry = e;
            found = true;
        }
    if (!found)
        throw HostError("la cuenta " + account +
                        " no está entre las cuentas de la lista; no se hace nada");
    const AccountOutcome outcome = h.Process(h.Request(entry, false));
    const SaveResult& clicked = outcome.last();
    SaveResult saved;
    h.Event([&] {
        saved =
            SaveAccount(h.session(), outcome.match.rows.WithGrids(clicked.debits, clicked.credits),
                        h.progress());
    });
    RunSummary summary;
    summary.total = summary.accounts = 1;
    summary.AddWrites(outcome.saved);
    if (outcome.review) summary.AddWrites(outcome.review->saved);
    summary.AddSave(saved);
    PrintSummary(std::cerr, summary, false);
    PrintGrids(std::cout, saved);
    return 0;
}

const Registrar reg{
    {"run", "arranque desatendido con una cuenta",
     "Uso: pendara-cli run CUENTA\n\n"
     "Arranca como cuando el programa contable lo llama con CUENTA en la línea de órdenes:\n"
     "lista las cuentas que empiezan por CUENTA, selecciona la primera que la contiene, la\n"
     "carga, la puntea y la guarda. Si la cuenta no está en la lista no se hace nada y la\n"
     "orden termina con error.\n\n"
     "Escribe lo mismo que \"pendara-cli save\": las partidas pendientes y \"newref\", y en la\n"
     "salida de errores el resumen de lo grabado.",
     Run}};

}  // namespace
}  // namespace pendara::cli
