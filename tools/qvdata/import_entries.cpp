// qvdata import-entries: ledger entries from CSV, all or nothing.

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
    std::string csv = args.require(1, "apuntes.csv");
    UnlockCompany(company, args);
    std::string text = CsvTextFromEncoding(ReadTextFile(csv), args.value("--encoding", "utf8"));
    std::size_t n = ImportEntriesCsv(company, text);
    std::cout << n << " apuntes importados\n";
    return 0;
}

const cli::Registrar kRegistrar{{
    "import-entries",
    "importa apuntes de un CSV al fichero de apuntes de una empresa",
    "Uso: qvdata import-entries FICHERO.QVT apuntes.csv [--encoding COD] [--key-file F]\n\n"
    "El CSV (separador \";\", comillas RFC 4180) empieza por una cabecera que nombra las\n"
    "columnas en cualquier orden, sin distinguir mayúsculas:\n"
    "  Cuenta, Fecha, Campo2, Asiento, Descripcion, DebeHaber, Importe, Marca, Tipo, Campo14,\n"
    "  Campo22, Referencia punteo\n"
    "(Registro, la primera columna de export-entries, se ignora). Las columnas que faltan quedan\n"
    "vacías; Cuenta es obligatoria. Fechas dd/mm/aa o dd/mm/aaaa de 1960 a 2059; importes con\n"
    "signo (haber en negativo) con \",\" o \".\" decimal, hasta 9.007.199.254.740.992; DebeHaber "
    "1\n"
    "(debe) o 2 (haber), vacío se deduce del signo. Textos sin bytes nulos, de 20 caracteres\n"
    "como mucho en Cuenta, Asiento, Marca y Tipo, 50 en Campo2, Campo14 y Campo22, 255 en\n"
    "Descripcion y Referencia punteo.\n"
    "Los apuntes nuevos se numeran en el orden del fichero, tras los existentes.\n"
    "Todo o nada: un valor que no se puede guardar da \"línea N, columna X: ...\", no importa\n"
    "nada y sale con error.\n\n"
    "  --encoding COD     codificación del fichero: utf8 (la de omisión), latin1 o cp1252\n" +
        std::string(KeyFileHelp()),
    Run,
}};

}  // namespace
}  // namespace pendara::qvdata
