// qvdata create-company: a new company file with its empty data files.

#include <iostream>

#include "cli/cli.h"
#include "common.h"
#include "host/company_store.h"

namespace pendara::qvdata {
namespace {

int Run(const std::vector<std::string>& argv) {
    cli::Args args(argv, {"--code", "--name", "--year", "--previous"}, {"--key-stdin"});
    args.atMost(1);
    std::string file = args.require(0, "FICHERO.QVT");
    CompanyDetails details;
    details.code = args.value("--code", "");
    if (details.code.size() != 2)
        throw cli::UsageError("--code necesita un código de dos caracteres");
    details.name = args.value("--name", "");
    long long year = args.integer("--year", 0);
    if (year < 1900 || year > 2999)
        throw cli::UsageError("--year necesita un año de cuatro cifras");
    details.year = static_cast<std::int32_t>(year);
    details.previous = args.value("--previous", "");
    if (args.flag("--key-stdin")) {
        std::getline(std::cin, details.key);
        if (!details.key.empty() && details.key.back() == '\r') details.key.pop_back();
        if (details.key.empty()) throw cli::UsageError("--key-stdin: la clave leída está vacía");
    }
    CreateCompany(file, details);
    std::cout << AbsolutePath(file) << "\n";
    return 0;
}

const cli::Registrar kRegistrar{{
    "create-company",
    "crea una empresa (fichero .QVT) con sus ficheros de datos vacíos",
    "Uso: qvdata create-company FICHERO.QVT --code CC --name NOMBRE --year AAAA\n"
    "                           [--previous ANTERIOR.QVT] [--key-stdin]\n\n"
    "Crea el fichero de empresa y, en su misma carpeta, el fichero de apuntes extraCC.qvd y el\n"
    "plan de cuentas PlancCC.qvd, vacíos.\n\n"
    "  --code CC          código de dos caracteres que da nombre a los ficheros de datos\n"
    "  --name NOMBRE      nombre de la empresa\n"
    "  --year AAAA        ejercicio\n"
    "  --previous F.QVT   empresa del ejercicio anterior (se guarda relativa a la carpeta)\n"
    "  --key-stdin        lee de la entrada estándar (una línea) la clave de acceso; solo se\n"
    "                     guarda un resumen criptográfico, nunca la clave\n\n"
    "Escribe la ruta de la empresa creada.",
    Run,
}};

}  // namespace
}  // namespace pendara::qvdata
