// qvdata demo: a realistic company group to try the program with, or to measure it.

#include <fstream>
#include <iostream>
#include <utility>

#include "cli/cli.h"
#include "cli/console_port.h"
#include "common.h"
#include "host/demo.h"
#include "host/errors.h"
#include "host/settings.h"

namespace pendara::qvdata {
namespace {

// The groups the generator made, for measuring how much of them a matching run finds again.
void WriteTruth(const std::string& file, const std::vector<DemoTruth>& truth) {
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    if (!out) throw HostError("No se puede escribir " + file);
    out << "Empresa;Registro;Grupo\n";
    for (const DemoTruth& t : truth)
        out << t.company << ';' << std::to_string(t.record) << ';' << t.group << '\n';
    out.close();
    if (!out) throw HostError("No se puede escribir " + file);
}

int Run(const std::vector<std::string>& argv) {
    cli::Args args(argv, {"--seed", "--accounts", "--entries-per-year", "--years", "--truth"},
                   {"--no-activate", "--no-key"});
    args.atMost(1);
    DemoOptions o;
    o.folder = args.require(0, "CARPETA");
    long long seed = args.integer("--seed", 1);
    long long accounts = args.integer("--accounts", o.accounts);
    long long entries = args.integer("--entries-per-year", o.entriesPerYear);
    long long years = args.integer("--years", o.years);
    if (seed < 0) throw cli::UsageError("--seed necesita un número no negativo");
    if (accounts < 2 || accounts > 9999999)
        throw cli::UsageError("--accounts necesita un número entre 2 y 9999999");
    if (entries < 10 || entries > 100000000)
        throw cli::UsageError("--entries-per-year necesita un número entre 10 y 100000000");
    if (years < 1 || years > 60) throw cli::UsageError("--years necesita un número entre 1 y 60");
    o.seed = static_cast<std::uint64_t>(seed);
    o.accounts = static_cast<int>(accounts);
    o.entriesPerYear = static_cast<int>(entries);
    o.years = static_cast<int>(years);
    o.withKey = !args.flag("--no-key");
    DemoResult r = GenerateDemo(o);
    if (auto truth = args.value("--truth")) WriteTruth(*truth, r.truth);
    std::string active = AbsolutePath(r.companies.back());
    if (!args.flag("--no-activate")) {
        ConsolePort port(std::cout, std::cerr);
        SetRegValue(port, "Active", active);
        // The marks an installation starts with, so that saved groups are ticked and the
        // reports tell balanced groups from open entries; options already set are kept.
        for (const auto& [key, value] : {std::pair{"Punteo0", "1"}, std::pair{"Punteo1", "0"}})
            if (!HostOptions().Query("", key)) SaveSetting(key, value, "");
    }
    std::cerr << r.companies.size() << " ejercicios, " << r.entries << " apuntes\n";
    if (!r.key.empty())
        std::cerr << "La empresa " << AbsolutePath(r.keyCompany) << " tiene la clave de acceso \""
                  << r.key << "\"\n";
    std::cout << active << "\n";
    return 0;
}

const cli::Registrar kRegistrar{{
    "demo",
    "crea un grupo de empresas de demostración",
    "Uso: qvdata demo CARPETA [--seed S] [--accounts N] [--entries-per-year N] [--years A]\n"
    "                 [--no-activate] [--no-key] [--truth FICHERO]\n\n"
    "Crea en CARPETA una cadena de ejercicios de una empresa (DEMOaaaa.QVT, el último 2025) con\n"
    "un plan de cuentas español de diez cifras (clientes 430..., proveedores 400..., bancos\n"
    "572..., ventas 700..., compras 600..., IVA 472/477) y apuntes realistas: facturas con\n"
    "\"Fra.\" y número, cobros y pagos de una o varias facturas, pagos parciales, abonos,\n"
    "asientos de apertura (tipo A), regularización (R) y cierre (C). La misma semilla da los\n"
    "mismos datos. Un ejercicio (el penúltimo) lleva la clave de acceso \"punteo\", que se\n"
    "indica al terminar.\n\n"
    "  --seed S               semilla (1)\n"
    "  --accounts N           cuentas de clientes y proveedores (40)\n"
    "  --entries-per-year N   apuntes por ejercicio, aproximadamente (3000)\n"
    "  --years A              ejercicios de la cadena (3)\n"
    "  --no-activate          no marca el último ejercicio como empresa activa ni guarda las\n"
    "                         marcas de punteo por omisión (Punteo0 = 1, Punteo1 = 0) cuando\n"
    "                         aún no están guardadas\n"
    "  --no-key               ningún ejercicio lleva clave (para ejecuciones desatendidas)\n"
    "  --truth FICHERO        escribe en FICHERO (\";\" como separador) cada apunte generado de\n"
    "                         clientes y proveedores: Empresa (fichero de la empresa), Registro\n"
    "                         y Grupo, el mismo para los apuntes que se saldan entre sí (vacío\n"
    "                         si el apunte no se salda: facturas aún pendientes, aperturas y\n"
    "                         cierres); los datos generados son los mismos con o sin él\n\n"
    "Escribe la ruta de la empresa activa (el último ejercicio).",
    Run,
}};

}  // namespace
}  // namespace pendara::qvdata
