// pendara-cli match: the automatic matching of one account, printed row by row. Nothing is
// saved; only the reference counter moves, as it does on screen.

#include <iostream>
#include <string>
#include <vector>

#include "cli/cli.h"
#include "cmd_session.h"
#include "companies/catalogue.h"
#include "companies/session.h"
#include "host/conversions.h"
#include "host/errors.h"
#include "host/paths.h"
#include "host/qv_file_control.h"
#include "host/qv_library.h"
#include "services/account_run.h"

namespace pendara {
namespace {

// Whether the chart of accounts of some company of the chain holds the code.
bool InSomeChart(const Session& s, const std::string& account) {
    for (const std::string& company : s.ConsultedFiles) {
        if (Trim(company).empty()) continue;
        const std::string file = NormaliseCompanyName(company);
        QvFileControl2 chart;
        chart.OpenFile(ChartFile(FolderOf(file), CompanyCode(file)), "");
        chart.SetFilter("Cuenta = " + Trim(account));
        chart.MoveFirst();
        const bool found = !chart.IsEof();
        chart.CloseFile();
        if (found) return true;
    }
    return false;
}

// A grid that shows one row of nothing.
bool Blank(const std::vector<GridRow>& rows) {
    return rows.size() == 1 && rows.front().record.empty();
}

int Run(const std::vector<std::string>& argv) {
    cli::Args args(argv, {}, {"--show-state", "--mejorado"});
    args.atMost(1);
    const std::string account = args.require(0, "la CUENTA");

    cli::Headless h(false);
    AccountMatch m;
    // The end of the program (a refused key, a host failure) goes to the command runner.
    h.Event([&] {
        LoadCatalogue(h.session());
        if (h.session().ConsultedFiles.empty()) throw HostError("No hay empresa activa");
        MatchRequest request{h.session().ConsultedFiles[0], account, {}};
        request.options.enhanced =
            args.flag("--mejorado") || EnhancedModeSetting(h.session().Lib());
        m = MatchAccount(h.session(), request, h.progress());
    });
    cli::PrintNotice(m, h.port(), std::cerr);
    // Empty grids are the answer for an account without movements in the open company; for a
    // code that no chart of the chain knows they would only hide a mistyped code.
    bool unknown = false;
    if (Blank(m.rows.debits) && Blank(m.rows.credits) && (!m.loaded || m.title.empty()))
        h.Event([&] { unknown = !InSomeChart(h.session(), account); });
    if (unknown)
        throw HostError("la cuenta " + account +
                        " no está en el plan de cuentas de ninguna empresa de la cadena");
    cli::PrintGrid(std::cout, "1", m.rows.debits);
    cli::PrintGrid(std::cout, "2", m.rows.credits);
    if (args.flag("--show-state")) {
        std::cout << "SaldoCta\t"
                  << (m.loaded ? "Saldo Cuenta: " + FormatAmountPlain(m.balance) : "") << '\n';
        std::cout << "TituloL\t" << (m.loaded ? m.title : "") << '\n';
        std::cout << "newref\t" << '\n';
    }
    return 0;
}

const cli::Registrar kRegistrar{{
    "match",
    "puntea una cuenta automáticamente y muestra sus partidas (sin guardar)",
    "Uso: pendara-cli match CUENTA [--show-state] [--mejorado]\n\n"
    "Abre la empresa activa (valor \"Active\" del registro) y las de sus ejercicios anteriores,\n"
    "carga los apuntes de CUENTA en todas ellas, los puntea por referencias, por números de\n"
    "factura de la descripción y por importes, y escribe una línea por fila de cada rejilla:\n"
    "\"1\" (debe) o \"2\" (haber), y las 8 columnas separadas por tabuladores: registro, fecha,\n"
    "asiento, descripción, referencia, importe, número de empresa y marca. Una cuenta sin\n"
    "movimientos en la empresa activa deja cada rejilla con una fila vacía; un código que no\n"
    "está en el plan de cuentas de ninguna empresa de la cadena termina con error.\n\n"
    "No guarda nada en la contabilidad; sólo avanza el contador de referencias de la empresa\n"
    "más antigua, como hace la ventana. Las claves de acceso se piden en la terminal sin eco (o\n"
    "se leen de una línea de la entrada estándar).\n\n"
    "  --show-state  añade las líneas SaldoCta, TituloL y newref con el texto de cada control\n"
    "  --mejorado    punteo mejorado en esta ejecución, aunque la opción PunteoMejorado no esté\n"
    "                activada: después de los pasos habituales, puntea por los números de\n"
    "                factura de cobros y pagos y por sumas exactas de importes",
    Run,
}};

}  // namespace
}  // namespace pendara
