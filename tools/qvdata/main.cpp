// qvdata: the host-data tool. Creates companies and chains of fiscal years, imports and exports
// entries and charts of accounts as CSV, sets the active company and makes demo data.

#include "cli/cli.h"
#include "host/open_files.h"

int main(int argc, char** argv) {
    pendara::RaiseOpenFileLimit();
    return pendara::cli::Registry::Get().Main(
        "qvdata", "qvdata: datos contables de Quorvex (empresas, apuntes, plan de cuentas).", argc,
        argv);
}
