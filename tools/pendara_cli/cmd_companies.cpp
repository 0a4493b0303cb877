// pendara-cli companies: the companies taking part.

#include <iostream>

#include "cli/cli.h"
#include "cmd_session.h"
#include "group/group_commands.h"
#include "host/conversions.h"

namespace pendara::cli {
namespace {

int Run(const std::vector<std::string>& args) {
    Args a(args, {}, {});
    a.atMost(0);
    Session s(false);
    s.Load();
    const Pndra& w = s.window();
    for (int i = 0; i < w.List1.ListCount(); ++i) {
        const auto k = static_cast<std::size_t>(w.List1.ItemData(i));
        std::cout << w.List1.List(i) << '\t' << w.session.ConsultedFiles.at(k) << '\n';
    }
    return 0;
}

const Registrar reg{{"companies", "lista las empresas consultadas",
                     "Uso: pendara-cli companies\n\n"
                     "Escribe las empresas del grupo (la activa y sus ejercicios anteriores),\n"
                     "una por línea: nombre corto, TAB y fichero de empresa.",
                     Run}};

}  // namespace
}  // namespace pendara::cli
