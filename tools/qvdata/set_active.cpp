// qvdata set-active: the company the program opens at start (registry value "Active").

#include <iostream>

#include "cli/cli.h"
#include "cli/console_port.h"
#include "common.h"
#include "host/company_file.h"
#include "host/settings.h"

namespace pendara::qvdata {
namespace {

int Run(const std::vector<std::string>& argv) {
    cli::Args args(argv, {}, {});
    args.atMost(1);
    std::string file = AbsolutePath(ExistingCompanyFile(args.require(0, "FICHERO.QVT")));
    ConsolePort port(std::cout, std::cerr);
    SetRegValue(port, "Active", file);
    std::cout << file << "\n";
    return 0;
}

const cli::Registrar kRegistrar{{
    "set-active",
    "marca una empresa como la activa (valor \"Active\" del registro)",
    "Uso: qvdata set-active FICHERO.QVT\n\n"
    "Guarda la ruta absoluta de la empresa en el valor \"Active\" del registro de Quorvex (fuera\n"
    "de Windows, en el fichero de la carpeta QUORVEX_HOME). Pendara abre esa empresa y las de sus\n"
    "ejercicios anteriores al arrancar.",
    Run,
}};

}  // namespace
}  // namespace pendara::qvdata
