// pendara-cli review: the zero-balance forcing on one account.

#include <iostream>

#include "cli/cli.h"
#include "cmd_session.h"
#include "companies/account_list.h"
#include "host/conversions.h"

namespace pendara::cli {
namespace {

int Run(const std::vector<std::string>& args) {
    Args a(args, {}, {});
    const std::string account = a.require(0, "la cuenta");
    a.atMost(1);
    Headless h(false);
    h.Load();
    const std::string entry = h.EntryOf(account);
    const AccountOutcome outcome = h.Process(h.Request(entry, false));
    const SaveResult& clicked = outcome.last();
    ReviewResult review;
    h.Event([&] {
        review = ReviewBalance(h.session(), Trim(ListEntryAccount(entry)),
                               outcome.match.rows.WithGrids(clicked.debits, clicked.credits),
                               h.progress());
    });
    RunSummary summary;
    summary.total = summary.accounts = 1;
    summary.AddWrites(outcome.saved);
    if (outcome.review) summary.AddWrites(outcome.review->saved);
    summary.AddSave(review.saved);
    PrintSummary(std::cerr, summary, false);
    PrintGrids(std::cout, review.saved);
    return 0;
}

const Registrar reg{
    {"review", "fuerza el punteo donde el saldo de una cuenta vuelve a 0",
     "Uso: pendara-cli review CUENTA\n\n"
     "Carga, puntea y guarda la cuenta (como \"save\") y después busca las fechas en que su\n"
     "saldo acumulado de cada ejercicio vuelve a 0: los apuntes hasta la última de ellas\n"
     "reciben una referencia común y se guardan (\"Forzar Punteo cuando saldo sea 0\").\n\n"
     "Escribe las partidas que siguen pendientes y \"newref\", como \"save\", y en la salida\n"
     "de errores el resumen de lo grabado.",
     Run}};

}  // namespace
}  // namespace pendara::cli
