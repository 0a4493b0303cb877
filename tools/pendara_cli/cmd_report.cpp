// pendara-cli report: the open-items and matching report without a window: the same dialog as
// the desktop program's, answered with the options given here, the same report, written to a
// file or to standard output.

#include <algorithm>
#include <cmath>
#include <iostream>
#include <map>
#include <optional>
#include <tuple>

#include "cli/cli.h"
#include "cmd_session.h"
#include "host/company_store.h"
#include "host/conversions.h"
#include "host/errors.h"
#include "host/numbers.h"
#include "host/paths.h"
#include "host/report_output.h"
#include "reports/menu.h"
#include "reports/report.h"
#include "services/report.h"

namespace pendara::cli {
namespace {

const char* const kUsage =
    "Uso: pendara-cli report [--account CUENTA] [--from CUENTA] [--to CUENTA] [--mask MASCARA]\n"
    "                        [--from-date dd/mm/aa] [--to-date dd/mm/aa] [--open|--no-open]\n"
    "                        [--unbalanced|--no-unbalanced] [--balanced|--no-balanced]\n"
    "                        [--opening|--no-opening] [--min-balance X] [--min-unbalanced X]\n"
    "                        [--format txt|csv|pdf|xlsx|csv-tabla|xlsx-tabla] [-o ARCHIVO]\n\n"
    "Informe de punteo de extractos de la empresa activa, cuenta a cuenta, como el botón\n"
    "\"Informe\" del programa de escritorio y con sus mismos valores por omisión:\n"
    "  --account CUENTA     cuenta activa: primera y última cuenta cuando no se dan\n"
    "  --from, --to         primera y última cuenta; sin cuenta activa, todas las del plan\n"
    "  --mask MASCARA       cuentas coincidentes con (? un carácter, * varios);\n"
    "                       por omisión ?????????? (todas)\n"
    "  --from-date, --to-date  fechas de los apuntes (por omisión 01/01/99 y 31/12 de este año)\n"
    "  --open, --no-open    apuntes no punteados\n"
    "  --unbalanced         apuntes punteados pero no cuadrados (marca 2)\n"
    "  --balanced           apuntes punteados y cuadrados (marca 1)\n"
    "  --opening            incluir apuntes de apertura\n"
    "                       (las cuatro casillas toman por omisión lo guardado la última vez,\n"
    "                       y se guardan como en el diálogo)\n"
    "  --min-balance X      solo cuentas con saldo de al menos X en valor absoluto (0,01)\n"
    "  --min-unbalanced X   grupos no cuadrados solo si su saldo supera X (0)\n"
    "  --format F           txt (texto en columnas), csv (\";\", importes numéricos), pdf,\n"
    "                       xlsx; csv-tabla y xlsx-tabla: un apunte por fila con su cuenta,\n"
    "                       nombre y grupo, listas para filtrar; txt por omisión. Todos\n"
    "                       llevan los criterios de selección y los totales del informe\n"
    "  -o, --output ARCHIVO dónde escribirlo; sin él, el texto sale por la salida estándar\n"
    "                       (obligatorio salvo para txt)\n\n"
    "Toma la empresa activa del valor \"Active\" del registro (QUORVEX_HOME). Con la salida\n"
    "de errores en un terminal muestra una barra de progreso.";

// A day-first date as the dialog shows it (dd/mm/yy); UsageError naming the option otherwise.
std::string DateOption(const Args& a, const std::string& name, CalendarDate& d) {
    const std::string v = *a.value(name);
    if (!ParseMenuDate(v, d))
        throw UsageError(name + " espera una fecha dd/mm/aa válida, no \"" + v + "\"");
    return IntegerText(d.day, 2) + "/" + IntegerText(d.month, 2) + "/" +
           IntegerText(d.year % 100, 2);
}

// An amount written with "," or "." as decimal mark, handed to the dialog as it writes numbers.
std::string AmountOption(const Args& a, const std::string& name) {
    std::string v = Trim(*a.value(name));
    std::replace(v.begin(), v.end(), ',', '.');
    const std::optional<double> d = ReadDecimal(v);
    if (!d || !std::isfinite(*d))
        throw UsageError(name + " espera un importe (por ejemplo 0,01), no \"" + *a.value(name) +
                         "\"");
    if (*d < 0)
        throw UsageError(name + " es un importe mínimo y no puede ser negativo: \"" +
                         *a.value(name) + "\"");
    // Beyond what the books hold (fifteen significant digits) a threshold means nothing.
    if (*d >= 1e13)
        throw UsageError(name +
                         " está fuera del rango de los importes (hasta 9.999.999.999.999): \"" +
                         *a.value(name) + "\"");
    return MenuNumberText(*d);
}

// A check box from a pair of flags; nullopt leaves the dialog's default.
std::optional<std::string> CheckOption(const Args& a, const std::string& on,
                                       const std::string& off) {
    if (a.flag(on) && a.flag(off)) throw UsageError(on + " y " + off + " se excluyen");
    if (a.flag(on)) return "1";
    if (a.flag(off)) return "0";
    return std::nullopt;
}

std::int32_t Destination(const std::string& format, bool toFile) {
    if (format == "txt") return toFile ? kReportToText : kReportToScreen;
    if (format == "csv") return kReportToCsv;
    if (format == "pdf") return kReportToPdf;
    if (format == "xlsx") return kReportToSpreadsheet;
    if (format == "csv-tabla") return kReportToCsvTable;
    if (format == "xlsx-tabla") return kReportToSpreadsheetTable;
    throw UsageError("--format es txt, csv, pdf, xlsx, csv-tabla o xlsx-tabla, no \"" + format +
                     "\"");
}

int Run(const std::vector<std::string>& raw) {
    std::vector<std::string> args;
    for (const std::string& s : raw)
        args.push_back(s == "-o" ? "--output" : s);
    Args a(args,
           {"--account", "--from", "--to", "--mask", "--from-date", "--to-date", "--min-balance",
            "--min-unbalanced", "--format", "--output"},
           {"--open", "--no-open", "--unbalanced", "--no-unbalanced", "--balanced", "--no-balanced",
            "--opening", "--no-opening"});
    a.atMost(0);
    const std::string format = a.value("--format", "txt");
    const std::optional<std::string> output = a.value("--output");
    const std::int32_t destination = Destination(format, output.has_value());
    if (!output && destination != kReportToScreen)
        throw UsageError("--format " + format + " necesita -o ARCHIVO");

    ReportPresets presets;
    std::map<int, std::string>& answers = presets.texts;
    if (a.value("--mask")) answers[kItemMask] = *a.value("--mask");
    CalendarDate fromDate, toDate;
    if (a.value("--from-date")) answers[kItemFromDate] = DateOption(a, "--from-date", fromDate);
    if (a.value("--to-date")) answers[kItemToDate] = DateOption(a, "--to-date", toDate);
    if (a.value("--from-date") && a.value("--to-date") &&
        std::tie(fromDate.year, fromDate.month, fromDate.day) >
            std::tie(toDate.year, toDate.month, toDate.day))
        throw UsageError("--to-date " + *a.value("--to-date") + " es anterior a --from-date " +
                         *a.value("--from-date") + ": no quedaría ningún apunte");
    if (auto v = CheckOption(a, "--open", "--no-open")) answers[kItemUnmatched] = *v;
    if (auto v = CheckOption(a, "--unbalanced", "--no-unbalanced"))
        answers[kItemMatchedUnbalanced] = *v;
    if (auto v = CheckOption(a, "--balanced", "--no-balanced")) answers[kItemMatchedBalanced] = *v;
    if (auto v = CheckOption(a, "--opening", "--no-opening")) answers[kItemOpening] = *v;
    if (a.value("--min-balance")) answers[kItemMinBalance] = AmountOption(a, "--min-balance");
    if (a.value("--min-unbalanced"))
        answers[kItemMinUnbalanced] = AmountOption(a, "--min-unbalanced");

    Headless h(false);
    h.Load();
    Session& s = h.session();

    const std::string account = Trim(a.value("--account", ""));
    std::string from = a.value("--from", account);
    std::string to = a.value("--to", account);
    const std::vector<ChartAccount> chart = ReadAccounts(s.ActiveCompanyFile);
    if (!account.empty() && std::none_of(chart.begin(), chart.end(), [&](const ChartAccount& c) {
            return Trim(c.cuenta) == account;
        }))
        throw UsageError("la cuenta " + account + " no está en el plan de cuentas de " +
                         CleanName(s.ActiveCompanyFile));
    if (!Trim(from).empty() && !Trim(to).empty() && Trim(from) > Trim(to))
        throw UsageError("--from " + Trim(from) + " es posterior a --to " + Trim(to) +
                         ": no quedaría ninguna cuenta");
    if (from.empty() || to.empty()) {
        // No active account: the whole chart.
        std::string lowest, highest;
        for (const ChartAccount& c : chart) {
            if (c.nivel != 0) continue;
            if (lowest.empty() || c.cuenta < lowest) lowest = c.cuenta;
            if (highest.empty() || c.cuenta > highest) highest = c.cuenta;
        }
        if (from.empty()) from = lowest;
        if (to.empty()) to = highest;
    }
    answers[kItemFromAccount] = from;
    answers[kItemToAccount] = to;
    presets.destination = destination;

    ReportRequest request = RequestOf(Report{});
    h.Event([&] {
        // The console's dialog shows the answers and accepts them.
        std::optional<ReportOptions> options = AskReportOptions(s, account, presets);
        if (options) request = GenerateReportRequest(s, *options, h.progress());
    });
    if (request.totals->accounts == 0)
        std::cerr << "Sin datos: ninguna cuenta de la selección tiene apuntes que mostrar.\n";
    if (!output) {
        // On standard output the same readable text as --format txt -o writes.
        WriteReadableText(request, std::cout);
        std::cout << std::flush;
        return 0;
    }
    try {
        WriteReportFile(request, request.destination, *output);
    } catch (const std::exception& e) {
        h.port().MsgBox("No se pudo guardar el informe en " + *output + ":\r\n" + e.what(),
                        kVbOKOnly + kVbExclamation, "");
        return 1;
    }
    std::cerr << "Informe escrito en " << *output << "\n";
    return 0;
}

const Registrar reg{
    {"report", "informe de punteo de extractos (texto, CSV, PDF u hoja de cálculo)", kUsage, Run}};

}  // namespace
}  // namespace pendara::cli
