// pendara-cli match: the automatic matching of one account, printed row by row. Nothing is
// saved; only the reference counter moves, as it does on screen.

#include <iostream>
#include <string>
#include <vector>

#include "cli/cli.h"
#include "cli/console_port.h"
#include "companies/catalogue.h"
#include "host/errors.h"
#include "matching/matching_run.h"
#include "ui/dispatch.h"
#include "ui/pndra.h"

namespace pendara {
namespace {

void PrintGrid(std::ostream& out, const char* tag, const Grid& grid) {
    for (int r = 1; r <= grid.Rows(); ++r) {
        out << tag;
        for (int c = 1; c <= 8; ++c)
            out << '\t' << grid.Cell(r, c);
        out << '\n';
    }
}

int Run(const std::vector<std::string>& argv) {
    cli::Args args(argv, {}, {"--show-state"});
    args.atMost(1);
    const std::string account = args.require(0, "la CUENTA");

    ConsolePort port(std::cout, std::cerr);
    Pndra w(port);
    w.gauge.SetSurface(&port.Gauge());
    // The end of the program (a refused key, a host failure) goes to the command runner.
    RunEvent(w, [&] {
        LoadEmpresas(w);
        if (w.List1.ListCount() == 0) throw HostError("No hay empresa activa");
        const std::string company = w.ConsultedFiles[w.List1.ItemData(0)];
        PVporImportes(w, company, account);
    });
    // An account with no title in the chart and no entries in any year is a mistyped code, not
    // an account with nothing open.
    auto blank = [](const Grid& g) { return g.Rows() == 1 && g.Cell(1, 1).empty(); };
    if (blank(w.SGrid1) && blank(w.SGrid2) && w.TituloL.caption().empty())
        throw HostError("la cuenta " + account + " no está en el plan de cuentas ni tiene apuntes");
    PrintGrid(std::cout, "1", w.SGrid1);
    PrintGrid(std::cout, "2", w.SGrid2);
    if (args.flag("--show-state")) {
        std::cout << "SaldoCta\t" << w.SaldoCta.caption() << '\n';
        std::cout << "TituloL\t" << w.TituloL.caption() << '\n';
        std::cout << "newref\t" << w.newref.text() << '\n';
    }
    return 0;
}

const cli::Registrar kRegistrar{{
    "match",
    "puntea una cuenta automáticamente y muestra sus partidas (sin guardar)",
    "Uso: pendara-cli match CUENTA [--show-state]\n\n"
    "Abre la empresa activa (valor \"Active\" del registro) y las de sus ejercicios anteriores,\n"
    "carga los apuntes de CUENTA en todas ellas, los puntea por referencias, por números de\n"
    "factura de la descripción y por importes, y escribe una línea por fila de cada rejilla:\n"
    "\"1\" (debe) o \"2\" (haber), y las 8 columnas separadas por tabuladores: registro, fecha,\n"
    "asiento, descripción, referencia, importe, número de empresa y marca.\n\n"
    "No guarda nada en la contabilidad; sólo avanza el contador de referencias de la empresa\n"
    "más antigua, como hace la ventana. Las claves de acceso se piden en la terminal sin eco (o\n"
    "se leen de una línea de la entrada estándar).\n\n"
    "  --show-state  añade las líneas SaldoCta, TituloL y newref con el texto de cada control",
    Run,
}};

}  // namespace
}  // namespace pendara
