// qvdata counter: shows or sets the reference counter of a company file.

#include <iostream>
#include <limits>

#include "cli/cli.h"
#include "common.h"
#include "host/company_file.h"

namespace pendara::qvdata {
namespace {

int Run(const std::vector<std::string>& argv) {
    cli::Args args(argv, {"--set", "--key-file"}, {});
    args.atMost(1);
    std::string file = args.require(0, "FICHERO.QVT");
    UnlockCompany(file, args);
    if (args.value("--set")) {
        long long n = args.integer("--set", 0);
        if (n < 0 || n > std::numeric_limits<std::int32_t>::max())
            throw cli::UsageError("--set necesita un número entre 0 y 2147483647");
        SetCounter(file, static_cast<std::int32_t>(n));
    }
    std::cout << ReadCounter(file) << "\n";
    return 0;
}

const cli::Registrar kRegistrar{{
    "counter",
    "muestra o cambia el contador de referencias de una empresa",
    "Uso: qvdata counter FICHERO.QVT [--set N] [--key-file F]\n\n"
    "El contador es el último número entregado: la próxima referencia es RF-(N+1). Las\n"
    "referencias de toda la cadena de ejercicios salen del contador de la empresa más antigua.\n\n"
    "  --set N            fija el contador (bajo el mismo bloqueo que usa Pendara)\n" +
        std::string(KeyFileHelp()),
    Run,
}};

}  // namespace
}  // namespace pendara::qvdata
