// qvdata import-chart: accounts from CSV into a company's chart of accounts.

#include <iostream>

#include "cli/cli.h"
#include "common.h"
#include "host/csv.h"

namespace pendara::qvdata {
namespace {

int Run(const std::vector<std::string>& argv) {
    cli::Args args(argv, {"--key-file", "--encoding"}, {});
    args.atMost(2);
    std::string company = args.require(0, "FICHERO.QVT");
    std::string csv = args.require(1, "plan.csv");
    UnlockCompany(company, args);
    std::string text = CsvTextFromEncoding(ReadTextFile(csv), args.value("--encoding", "utf8"));
    std::size_t n = ImportChartCsv(company, text);
    std::cout << n << " cuentas importadas\n";
    return 0;
}

const cli::Registrar kRegistrar{{
    "import-chart",
    "importa cuentas de un CSV al plan de cuentas de una empresa",
    "Uso: qvdata import-chart FICHERO.QVT plan.csv [--encoding COD] [--key-file F]\n\n"
    "El CSV (separador \";\", comillas RFC 4180) empieza por una cabecera con las columnas\n"
    "Cuenta;Descripcion;Nivel en cualquier orden (Nivel 0 = cuenta de movimientos, hasta 99).\n"
    "Cuentas de 20 caracteres como mucho, nombres de 255, sin bytes nulos; una cuenta no puede\n"
    "repetirse ni estar ya en el plan.\n"
    "Todo o nada: una línea errónea da \"línea N, columna X: ...\" y no se importa nada.\n\n"
    "  --encoding COD     codificación del fichero: utf8 (la de omisión), latin1 o cp1252\n" +
        std::string(KeyFileHelp()),
    Run,
}};

}  // namespace
}  // namespace pendara::qvdata
