// pendara-cli active: which company Pendara starts from.

#include <iostream>

#include "cli/cli.h"
#include "host/conversions.h"
#include "host/settings.h"

namespace pendara::cli {
namespace {

int Run(const std::vector<std::string>& args) {
    Args a(args, {}, {});
    a.atMost(0);
    const std::string active = GetRegValue("Active").text();
    if (Trim(active).empty()) {
        std::cerr << "pendara-cli active: no hay empresa activa en " << QuorvexHome()
                  << " (márquela con \"qvdata set-active\")\n";
        return 1;
    }
    std::cout << active << '\n';
    return 0;
}

const Registrar reg{{"active", "muestra la empresa activa",
                     "Uso: pendara-cli active\n\n"
                     "Escribe el fichero de la empresa activa (valor \"Active\" del registro de\n"
                     "Quorvex), de la que parten la lista de cuentas y el grupo de empresas.\n"
                     "Termina con código 1 cuando no hay ninguna.",
                     Run}};

}  // namespace
}  // namespace pendara::cli
