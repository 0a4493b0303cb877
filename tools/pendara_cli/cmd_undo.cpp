// pendara-cli undo: puts back what a run of the journal wrote.

#include <iostream>

#include "cli/cli.h"
#include "cmd_session.h"
#include "host/account_posting.h"
#include "posting/posting_runs.h"

namespace pendara::cli {
namespace {

int Run(const std::vector<std::string>& args) {
    Args a(args, {"--account"}, {});
    const std::string text = a.require(0, "la ejecución");
    a.atMost(1);
    if (text.size() > 15 || text.find_first_not_of("0123456789") != std::string::npos)
        throw UsageError("la ejecución es un número: \"" + text + "\"");
    const std::int64_t run = std::stoll(text);
    Headless h(false);
    h.Load();
    UndoResult r = UndoRun(h.session().FirstCompanyFile, run, a.value("--account", ""),
                           PostingOptionsFor(h.session()));
    for (const auto& [account, rows] : r.undone)
        std::cout << "Cuenta " << account << ": " << std::to_string(rows)
                  << (rows == 1 ? " apunte restaurado\n" : " apuntes restaurados\n");
    for (const auto& [account, conflicts] : r.refused) {
        std::cerr << "Cuenta " << account
                  << ": no se deshace, porque estos apuntes han cambiado desde la ejecución "
                  << std::to_string(run) << ":\n";
        for (const RowConflict& c : conflicts)
            std::cerr << "  " << DescribeConflict(c) << '\n';
    }
    if (r.run) std::cout << "Deshecho en la ejecución " << std::to_string(r.run) << ".\n";
    return r.refused.empty() ? 0 : 1;
}

const Registrar reg{
    {"undo", "deshace lo que escribió una ejecución",
     "Uso: pendara-cli undo EJECUCION [--account CUENTA]\n\n"
     "Devuelve a cada apunte que cambió la ejecución (ver \"pendara-cli runs\") la referencia\n"
     "y la marca que tenía antes, cuenta por cuenta, la última primero; con --account, sólo\n"
     "los de esa cuenta. Una cuenta con algún apunte que ha cambiado después de la ejecución\n"
     "no se toca, y se dice qué apuntes son (empresa, registro, qué tienen y qué dejó la\n"
     "ejecución); el resultado es entonces 1.\n\n"
     "Deshacer es otra ejecución del diario: también se puede deshacer.",
     Run}};

}  // namespace
}  // namespace pendara::cli
