// pendara-cli companies: the companies taking part.

#include <iostream>

#include "cli/cli.h"
#include "cmd_session.h"
#include "host/paths.h"

namespace pendara::cli {
namespace {

int Run(const std::vector<std::string>& args) {
    Args a(args, {}, {});
    a.atMost(0);
    Headless h(false);
    h.Load();
    for (const std::string& file : h.session().ConsultedFiles)
        std::cout << CleanName(file) << '\t' << file << '\n';
    return 0;
}

const Registrar reg{{"companies", "lista las empresas consultadas",
                     "Uso: pendara-cli companies\n\n"
                     "Escribe las empresas del grupo (la activa y sus ejercicios anteriores),\n"
                     "una por línea: nombre corto, TAB y fichero de empresa.",
                     Run}};

}  // namespace
}  // namespace pendara::cli
