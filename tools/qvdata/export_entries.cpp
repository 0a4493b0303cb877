// qvdata export-entries: a company's entries as CSV on standard output.

#include <iostream>

#include "cli/cli.h"
#include "common.h"
#include "host/csv.h"

namespace pendara::qvdata {
namespace {

int Run(const std::vector<std::string>& argv) {
    cli::Args args(argv, {"--account", "--key-file"}, {});
    args.atMost(1);
    std::string company = args.require(0, "FICHERO.QVT");
    UnlockCompany(company, args);
    std::cout << ExportEntriesCsv(company, args.value("--account", ""));
    return 0;
}

const cli::Registrar kRegistrar{{
    "export-entries",
    "escribe los apuntes de una empresa como CSV",
    "Uso: qvdata export-entries FICHERO.QVT [--account CUENTA] [--key-file F]\n\n"
    "Escribe en la salida estándar los apuntes en orden de número de registro, con las columnas\n"
    "Registro;Cuenta;Fecha;Campo2;Asiento;Descripcion;DebeHaber;Importe;Marca;Tipo;Campo14;\n"
    "Campo22;Referencia punteo (fechas dd/mm/aaaa, importes con coma decimal). El resultado se\n"
    "puede volver a importar con import-entries.\n\n"
    "  --account CUENTA   solo los apuntes de esa cuenta\n" +
        std::string(KeyFileHelp()),
    Run,
}};

}  // namespace
}  // namespace pendara::qvdata
