// pendara-cli report: the open-items and matching report without a window. It runs the same
// Informe_Click as the desktop program; the dialog is answered with the options given here.

#include <algorithm>
#include <iostream>
#include <map>
#include <optional>

#include "cli/cli.h"
#include "cli/console_port.h"
#include "companies/catalogue.h"
#include "host/company_store.h"
#include "host/conversions.h"
#include "host/errors.h"
#include "host/numbers.h"
#include "host/report_output.h"
#include "host/settings.h"
#include "reports/menu.h"
#include "reports/report.h"
#include "ui/dispatch.h"
#include "ui/pndra.h"

namespace pendara::cli {
namespace {

const char* const kUsage =
    "Uso: pendara-cli report [--account CUENTA] [--from CUENTA] [--to CUENTA] [--mask MASCARA]\n"
    "                        [--from-date dd/mm/aa] [--to-date dd/mm/aa] [--open|--no-open]\n"
    "                        [--unbalanced|--no-unbalanced] [--balanced|--no-balanced]\n"
    "                        [--opening|--no-opening] [--min-balance X] [--min-unbalanced X]\n"
    "                        [--format txt|csv|pdf|xlsx] [-o ARCHIVO]\n\n"
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
    "  --format F           txt (texto), csv (\";\", importes numéricos), pdf, xlsx; txt por\n"
    "                       omisión\n"
    "  -o, --output ARCHIVO dónde escribirlo; sin él, el texto sale por la salida estándar\n"
    "                       (obligatorio para csv, pdf y xlsx)\n\n"
    "Toma la empresa activa del valor \"Active\" del registro (QUORVEX_HOME). Con la salida\n"
    "de errores en un terminal muestra una barra de progreso.";

// A console whose parameter dialog is answered by the command's options and whose screen
// output is the plain report text.
class ReportConsole : public ConsolePort {
  public:
    using ConsolePort::ConsolePort;
    std::function<void(ParameterValues&)> fill;

    bool ParameterDialog(const std::string& caption, ParameterValues& values,
                         const ParameterKinds& kinds,
                         const std::function<std::vector<AccountChoice>()>& accounts) override {
        if (fill) fill(values);
        return ConsolePort::ParameterDialog(caption, values, kinds, accounts);
    }
    void ShowReport(const ReportRequest& request, ReportScreenTarget) override {
        std::string lf;
        lf.reserve(request.text.size());
        for (std::size_t i = 0; i < request.text.size(); ++i)
            if (!(request.text[i] == '\r' && i + 1 < request.text.size() &&
                  request.text[i + 1] == '\n'))
                lf += request.text[i];
        std::cout << lf << std::flush;
    }
};

// A day-first date as the dialog shows it (dd/mm/yy); UsageError naming the option otherwise.
std::string DateOption(const Args& a, const std::string& name) {
    const std::string v = *a.value(name);
    CalendarDate d;
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
    if (!d)
        throw UsageError(name + " espera un importe (por ejemplo 0,01), no \"" + *a.value(name) +
                         "\"");
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
    throw UsageError("--format es txt, csv, pdf o xlsx, no \"" + format + "\"");
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

    std::map<int, std::string> answers;
    if (a.value("--mask")) answers[kItemMask] = *a.value("--mask");
    if (a.value("--from-date")) answers[kItemFromDate] = DateOption(a, "--from-date");
    if (a.value("--to-date")) answers[kItemToDate] = DateOption(a, "--to-date");
    if (auto v = CheckOption(a, "--open", "--no-open")) answers[kItemUnmatched] = *v;
    if (auto v = CheckOption(a, "--unbalanced", "--no-unbalanced"))
        answers[kItemMatchedUnbalanced] = *v;
    if (auto v = CheckOption(a, "--balanced", "--no-balanced")) answers[kItemMatchedBalanced] = *v;
    if (auto v = CheckOption(a, "--opening", "--no-opening")) answers[kItemOpening] = *v;
    if (a.value("--min-balance")) answers[kItemMinBalance] = AmountOption(a, "--min-balance");
    if (a.value("--min-unbalanced"))
        answers[kItemMinUnbalanced] = AmountOption(a, "--min-unbalanced");

    if (Trim(GetRegValue("Active").text()).empty())
        throw HostError("no hay empresa activa: el valor \"Active\" del registro está vacío en " +
                        QuorvexHome() +
                        " (cree una con \"qvdata demo CARPETA\" o márquela con qvdata)");
    ReportConsole port(std::cout, std::cerr);
    Pndra w(port);
    RunEvent(w, [&] { LoadEmpresas(w); });

    const std::string account = Trim(a.value("--account", ""));
    w.CTA.setText(account);
    std::string from = a.value("--from", account);
    std::string to = a.value("--to", account);
    if (from.empty() || to.empty()) {
        // No active account: the whole chart.
        std::string lowest, highest;
        for (const ChartAccount& c : ReadAccounts(w.session.ActiveCompanyFile)) {
            if (c.nivel != 0) continue;
            if (lowest.empty() || c.cuenta < lowest) lowest = c.cuenta;
            if (highest.empty() || c.cuenta > highest) highest = c.cuenta;
        }
        if (from.empty()) from = lowest;
        if (to.empty()) to = highest;
    }
    answers[kItemFromAccount] = from;
    answers[kItemToAccount] = to;
    port.fill = [&](ParameterValues& values) {
        for (const auto& [item, text] : answers)
            values[static_cast<std::size_t>(item - 1)][1] = text;
        values[kItemOutput - 1][0] = std::to_string(destination);
    };

    if (output) PresetReportFile(*output);
    RunEvent(w, [&] { Informe_Click(w); });
    if (!LastReportOutcome().error.empty()) return 1;
    if (output) std::cerr << "Informe escrito en " << *output << "\n";
    return 0;
}

const Registrar reg{
    {"report", "informe de punteo de extractos (texto, CSV, PDF u hoja de cálculo)", kUsage, Run}};

}  // namespace
}  // namespace pendara::cli
