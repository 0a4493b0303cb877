// pendara-cli: the program's commands without a window, for scripts, batch runs and servers.
// Each command lives in its own file and registers itself with the command framework.

#include "cli/cli.h"
#include "host/open_files.h"

int main(int argc, char** argv) {
    pendara::RaiseOpenFileLimit();
    return pendara::cli::Registry::Get().Main(
        "pendara-cli", "Pendara: punteo automático de cuentas, sin ventana.", argc, argv);
}
