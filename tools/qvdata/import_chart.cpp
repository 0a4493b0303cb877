// qvdata import-chart: accounts from CSV into a company's chart of accounts.

#include <iostream>

#include "cli/cli.h"
#include "common.h"
#include "host/csv.h"

namespace pendara::qvdata {
namespace {

int Run(const std::vector<std::string>& argv) {
    cli::Args args(argv, {"--key-file"}, {});
    args.atMost(2);
    std::string company = args.require(0, "FICHERO.QVT");
    std::string csv = args.require(1, "plan.csv");
    UnlockCompany(company, args);
    std::size_t n = ImportChartCsv(company, ReadTextFile(csv));
    std::cout << n << " cuentas importadas\n";
    return 0;
}

const cli::Registrar kRegistrar{{
    "import-chart",
    "importa cuentas de un CSV al plan de cuentas de una empresa",
    "Uso: qvdata import-chart FICHERO.QVT plan.csv [--key-file F]\n\n"
    "El CSV (UTF-8, separador \";\", comillas RFC 4180) empieza por una cabecera con las\n"
    "columnas Cuenta;Descripcion;Nivel en cualquier orden (Nivel 0 = cuenta de movimientos).\n"
    "Todo o nada: una línea errónea da \"línea N: ...\" y no se importa nada.\n\n" +
        std::string(KeyFileHelp()),
    Run,
}};

}  // namespace
}  // namespace pendara::qvdata
