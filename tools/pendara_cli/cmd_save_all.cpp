// pendara-cli save-all: the group save over the account list.

#include <iostream>
#include <optional>

#include "cli/cli.h"
#include "cmd_session.h"
#include "companies/account_list.h"
#include "group/group_commands.h"
#include "posting/posting_runs.h"
#include "services/group_save.h"

namespace pendara::cli {
namespace {

// The exit status of a run stopped by Ctrl-C or SIGTERM, as shells give an interrupted program.
constexpr int kStoppedStatus = 130;

int Run(const std::vector<std::string>& args) {
    Args a(args, {}, {"--pending", "--yes", "--mejorado", "--dry-run"});
    a.atMost(1);
    const std::string mask = a.positional().empty() ? "" : a.positional()[0];
    const bool preview = a.flag("--dry-run");
    Headless h(a.flag("--yes"));
    h.Load();
    std::vector<std::string> entries = h.List(mask, a.flag("--pending"));
    // In place before the question, so that a Ctrl-C once it is answered never kills the run.
    h.StopOnInterrupt();
    // A dry run writes nothing, so it asks nothing.
    if (!preview &&
        h.port().MsgBox(kGroupRunQuestion, kVbYesNo | kVbInformation | kVbDefaultButton2,
                        kDefaultTitle) != kVbYes) {
        PrintList(std::cout, entries);
        return 0;
    }
    std::optional<DryRun> dry;
    if (preview) dry.emplace(h.session());
    std::stop_source stop;
    RunSummary summary;
    summary.total = static_cast<std::int32_t>(entries.size());
    std::vector<RowChange> changes;
    SaveAllCallbacks callbacks;
    callbacks.beforeAccount = [&h](const GroupStep& step) {
        h.LabelProgress("(" + std::to_string(step.index + 1) + ") " + AccountCode(step.entry));
    };
    callbacks.afterAccount = [&](const GroupStep&, const AccountOutcome& outcome, bool) {
        PrintNotice(outcome.match, h.port(), std::cerr);
        summary.AddAccount(outcome);
        if (preview) {
            const std::vector<RowChange> more = ChangesOf(outcome);
            changes.insert(changes.end(), more.begin(), more.end());
        }
        if (h.StopRequested()) stop.request_stop();
    };
    SaveAllResult result;
    h.Event([&] {
        result = SaveAll(h.session(), std::move(entries), mask, h.Request("", a.flag("--mejorado")),
                         false, stop.get_token(), callbacks, h.progress());
    });
    summary.stopped = result.stopped;
    PrintSummary(std::cerr, summary, preview);
    if (preview)
        PrintChanges(std::cout, changes);
    else
        PrintList(std::cout, result.remaining);
    return result.stopped ? kStoppedStatus : 0;
}

const Registrar reg{
    {"save-all", "puntea y guarda todas las cuentas de la lista",
     "Uso: pendara-cli save-all [MASCARA] [--pending] [--yes] [--mejorado] [--dry-run]\n\n"
     "Llena la lista de cuentas (todas las que empiezan por MASCARA, o sólo las pendientes\n"
     "con --pending) y la recorre de la última a la primera: cada cuenta se carga, se puntea y\n"
     "se guarda; las que quedan con saldo 0 salen de la lista. Al final escribe las cuentas\n"
     "que siguen en la lista, una por línea, y en la salida de errores un resumen: cuentas\n"
     "procesadas, partidas escritas (las que cambian de referencia o de marca), referencias\n"
     "creadas, grupos cuadrados y descuadrados, y partidas pendientes con su saldo (debe\n"
     "menos haber).\n\n"
     "Pregunta antes de empezar, salvo con --yes. Ctrl-C (o la señal TERM) detiene el proceso\n"
     "después de la cuenta en curso (un segundo Ctrl-C lo termina en el acto); el resumen\n"
     "dice entonces \"Proceso detenido tras N de M cuentas\" y la orden termina con el código\n"
     "130. Cuando la salida de errores es un terminal se ve una barra de progreso.\n\n"
     "  --pending   sólo las cuentas con algo pendiente de puntear\n"
     "  --yes       no preguntar\n"
     "  --mejorado  punteo mejorado en esta ejecución, aunque la opción PunteoMejorado no\n"
     "              esté activada (ver \"pendara-cli config\")\n"
     "  --dry-run   simulación: no pregunta y no escribe nada, ni la contabilidad ni el\n"
     "              contador de referencias. Escribe el resumen y, en vez de la lista, las\n"
     "              partidas que cambiarían, una por línea: empresa, registro, referencia y\n"
     "              marca de antes, \"->\", referencia y marca de después, separadas por TAB.\n"
     "              Las referencias nuevas llevan detrás \" (provisional)\": son las que daría\n"
     "              el contador ahora; otro puesto que puntee antes de la ejecución real puede\n"
     "              hacer que sean otras.",
     Run}};

}  // namespace
}  // namespace pendara::cli
