// qvdata import-entries: ledger entries from CSV, all or nothing.

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
    std::string csv = args.require(1, "apuntes.csv");
    UnlockCompany(company, args);
    std::size_t n = ImportEntriesCsv(company, ReadTextFile(csv));
    std::cout << n << " apuntes importados\n";
    return 0;
}

const cli::Registrar kRegistrar{{
    "import-entries",
    "importa apuntes de un CSV al fichero de apuntes de una empresa",
    "Uso: qvdata import-entries FICHERO.QVT apuntes.csv [--key-file F]\n\n"
    "El CSV (UTF-8, separador \";\", comillas RFC 4180) empieza por una cabecera que nombra las\n"
    "columnas en cualquier orden, sin distinguir mayúsculas:\n"
    "  Cuenta, Fecha, Campo2, Asiento, Descripcion, DebeHaber, Importe, Marca, Tipo, Campo14,\n"
    "  Campo22, Referencia punteo\n"
    "(Registro, la primera columna de export-entries, se ignora). Las columnas que faltan quedan\n"
    "vacías; Cuenta es obligatoria. Fechas dd/mm/aa o dd/mm/aaaa; importes con signo (haber en\n"
    "negativo) con \",\" o \".\" decimal; DebeHaber vacío se deduce del signo (1 debe, 2 haber).\n"
    "Los apuntes nuevos se numeran en el orden del fichero, tras los existentes.\n"
    "Todo o nada: una línea errónea da \"línea N: ...\", no importa nada y sale con error.\n\n" +
        std::string(KeyFileHelp()),
    Run,
}};

}  // namespace
}  // namespace pendara::qvdata
