// pendara-cli clear-all: the maintenance command that clears every account.

#include <iostream>

#include "cli/cli.h"
#include "cmd_session.h"
#include "posting/maintenance.h"

namespace pendara::cli {
namespace {

constexpr const char* kQuestion =
    "Se borraran las referencias y el punteo de todas las cuentas de todas las empresas. "
    "¿Esta usted seguro?";

int Run(const std::vector<std::string>& args) {
    Args a(args, {}, {"--yes"});
    a.atMost(0);
    Headless h(a.flag("--yes"));
    h.Load();
    // The window's button does not ask; a typed command that wipes everything does.
    if (h.port().MsgBox(kQuestion, kVbYesNo | kVbInformation | kVbDefaultButton2, "") != kVbYes)
        return 1;
    h.Event([&] { ClearAllReferences(h.session()); });
    std::cout << "Referencias y punteo borrados en " << h.session().ConsultedFiles.size()
              << " empresas.\n";
    return 0;
}

const Registrar reg{
    {"clear-all", "borra referencias y punteo de todas las cuentas",
     "Uso: pendara-cli clear-all [--yes]\n\n"
     "Vacía la referencia de punteo y pone la marca a 0 en todos los apuntes de todas las\n"
     "cuentas de todas las empresas del grupo. Pregunta antes, salvo con --yes. Se puede\n"
     "deshacer con \"pendara-cli undo\" (ver \"pendara-cli runs\").",
     Run}};

}  // namespace
}  // namespace pendara::cli
