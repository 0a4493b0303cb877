// pendara-cli save-all: the group save over the account list.

#include <iostream>

#include "cli/cli.h"
#include "cmd_session.h"
#include "companies/account_list.h"
#include "group/group_commands.h"
#include "services/group_save.h"

namespace pendara::cli {
namespace {

int Run(const std::vector<std::string>& args) {
    Args a(args, {}, {"--pending", "--yes", "--mejorado"});
    a.atMost(1);
    const std::string mask = a.positional().empty() ? "" : a.positional()[0];
    Headless h(a.flag("--yes"));
    h.Load();
    std::vector<std::string> entries = h.List(mask, a.flag("--pending"));
    // In place before the question, so that a Ctrl-C once it is answered never kills the run.
    h.StopOnInterrupt();
    if (h.port().MsgBox(kGroupRunQuestion, kVbYesNo | kVbInformation | kVbDefaultButton2,
                        kDefaultTitle) != kVbYes) {
        PrintList(std::cout, entries);
        return 0;
    }
    std::stop_source stop;
    SaveAllCallbacks callbacks;
    callbacks.beforeAccount = [&h](const GroupStep& step) {
        h.LabelProgress("(" + std::to_string(step.index + 1) + ") " + AccountCode(step.entry));
    };
    callbacks.afterAccount = [&h, &stop](const GroupStep&, const AccountOutcome& outcome, bool) {
        PrintNotice(outcome.match, h.port(), std::cerr);
        if (h.StopRequested()) stop.request_stop();
    };
    SaveAllResult result;
    h.Event([&] {
        result = SaveAll(h.session(), std::move(entries), mask, h.Request("", a.flag("--mejorado")),
                         false, stop.get_token(), callbacks, h.progress());
    });
    PrintList(std::cout, result.remaining);
    return 0;
}

const Registrar reg{
    {"save-all", "puntea y guarda todas las cuentas de la lista",
     "Uso: pendara-cli save-all [MASCARA] [--pending] [--yes] [--mejorado]\n\n"
     "Llena la lista de cuentas (todas las que empiezan por MASCARA, o sólo las pendientes\n"
     "con --pending) y la recorre de la última a la primera: cada cuenta se carga, se puntea y\n"
     "se guarda; las que quedan con saldo 0 salen de la lista. Al final escribe las cuentas\n"
     "que siguen en la lista, una por línea.\n\n"
     "Pregunta antes de empezar, salvo con --yes. Ctrl-C detiene el proceso después de la\n"
     "cuenta en curso (un segundo Ctrl-C lo termina en el acto). Cuando la salida de errores\n"
     "es un terminal se ve una barra de progreso.\n\n"
     "  --pending   sólo las cuentas con algo pendiente de puntear\n"
     "  --yes       no preguntar\n"
     "  --mejorado  punteo mejorado en esta ejecución, aunque la opción PunteoMejorado no\n"
     "              esté activada (ver \"pendara-cli config\")",
     Run}};

}  // namespace
}  // namespace pendara::cli
