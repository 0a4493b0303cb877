// pendara-cli runs: the runs of the journal of the active company's chain, or what one run wrote.

#include <iostream>

#include "cli/cli.h"
#include "cmd_session.h"
#include "host/account_posting.h"
#include "host/conversions.h"
#include "host/errors.h"

namespace pendara::cli {
namespace {

std::int64_t RunNumber(const std::string& text) {
    if (text.empty() || text.size() > 15 ||
        text.find_first_not_of("0123456789") != std::string::npos)
        throw UsageError("la ejecución es un número: \"" + text + "\"");
    return std::stoll(text);
}

std::string Quoted(const RowValue& v) {
    return "\"" + v.reference + "\" \"" + v.mark + "\"";
}

void PrintRuns(RunJournal& journal) {
    std::cout << "Ejecución\tFecha\tUsuario\tPuesto\tOrden\tCuentas\tApuntes\tEstado\n";
    for (const RunInfo& r : journal.Runs())
        std::cout << std::to_string(r.id) << '\t' << r.started << '\t' << r.user << '\t'
                  << r.machine << '\t' << Trim(r.command + " " + r.arguments) << '\t'
                  << std::to_string(r.accounts) << '\t' << std::to_string(r.rows) << '\t'
                  << StateText(r.state) << '\n';
}

void PrintRun(RunJournal& journal, std::int64_t id, bool detail) {
    if (!journal.Run(id)) throw HostError("No existe la ejecución " + std::to_string(id));
    for (const JournalAccount& a : journal.Accounts(id)) {
        std::cout << a.account << '\t' << std::to_string(a.changed) << '\n';
        if (!detail) continue;
        for (const JournalRow& r : journal.Rows(a.id))
            std::cout << '\t' << journal.FileCompany(r.file) << '\t' << std::to_string(r.record)
                      << '\t' << Quoted(r.before) << " -> " << Quoted(r.after)
                      << (r.skipped ? "\t(no escrito)" : "") << '\n';
    }
}

int Run(const std::vector<std::string>& args) {
    Args a(args, {}, {"--detail"});
    a.atMost(1);
    std::optional<std::int64_t> run;
    if (!a.positional().empty()) run = RunNumber(a.positional()[0]);
    Headless h(false);
    h.Load();
    const std::string& first = h.session().FirstCompanyFile;
    if (Trim(first).empty() || !RunJournal::Exists(first)) {
        if (run) throw HostError("No existe la ejecución " + std::to_string(*run));
        std::cout << "No hay ejecuciones registradas.\n";
        return 0;
    }
    RunJournal journal(first, false);
    if (run)
        PrintRun(journal, *run, a.flag("--detail"));
    else
        PrintRuns(journal);
    return 0;
}

const Registrar reg{
    {"runs", "lista las ejecuciones que escribieron punteo, o lo que escribió una",
     "Uso: pendara-cli runs [EJECUCION [--detail]]\n\n"
     "Sin argumentos, una línea por ejecución del diario de la cadena de la empresa activa\n"
     "(grabaciones de cuentas, grabaciones de todo el grupo, borrados, deshacer), separada\n"
     "por TAB: número, fecha y hora, usuario, puesto, orden, cuentas y apuntes que cambió, y\n"
     "estado (terminada, en curso, interrumpida, o completada al volver a abrir el programa).\n\n"
     "Con EJECUCION, cada cuenta que cambió y cuántos apuntes; con --detail también cada\n"
     "apunte: empresa, registro, referencia y marca antes -> después.\n\n"
     "El diario es el fichero \"diario\" & código & \".qvj\" junto a la empresa más antigua de\n"
     "la cadena. Lo que una ejecución escribió se deshace con \"pendara-cli undo\".",
     Run}};

}  // namespace
}  // namespace pendara::cli
