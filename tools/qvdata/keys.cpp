// Access keys in qvdata: every command that reads or writes a protected company asks for its key
// first, and set-key, change-key and remove-key give, change and take away a company's key.

#include <sys/stat.h>

#include <iostream>

#include "cli/cli.h"
#include "cli/console_port.h"
#include "common.h"
#include "host/company_file.h"
#include "host/company_keys.h"
#include "host/errors.h"
#include "host/qv_ole70.h"

#ifndef _WIN32
#include <unistd.h>
#endif

namespace pendara::qvdata {

namespace {

// The first line of a key file. A file that other users may read would give the key away.
std::string ReadKeyFile(const std::string& path) {
#ifndef _WIN32
    struct stat st {};
    if (::stat(path.c_str(), &st) != 0) throw HostError("No se puede leer el fichero " + path);
    if ((st.st_mode & 077) != 0)
        throw HostError("El fichero de clave " + path +
                        " pueden leerlo otros usuarios: quíteles el permiso (chmod 600 " + path +
                        ")");
#endif
    std::string text = ReadTextFile(path);
    std::string key = text.substr(0, text.find('\n'));
    if (!key.empty() && key.back() == '\r') key.pop_back();
    if (key.empty()) throw HostError("El fichero de clave " + path + " está vacío");
    return key;
}

bool StdinIsTerminal() {
#ifdef _WIN32
    return false;
#else
    return ::isatty(STDIN_FILENO) != 0;
#endif
}

// Asks for the key of `file` until `opens` takes one: from --key-file once, otherwise one line
// at a time from the terminal (without echo) or the pipe. The host makes each wrong key wait.
template <typename Opens>
std::string AskKey(const std::string& file, const cli::Args& args, Opens opens) {
    const std::optional<std::string> keyFile = args.value("--key-file");
    for (;;) {
        std::string key = keyFile
                              ? ReadKeyFile(*keyFile)
                              : ReadSecretLine(std::cerr, "Clave de acceso para " + file + ": ");
        if (key.empty()) throw HostError("No se ha dado la clave de acceso de " + file);
        if (opens(key)) return key;
        std::cerr << "Clave de acceso incorrecta\n";
        if (keyFile)
            throw HostError(kErrAccessKey, "Clave de acceso incorrecta para " + file +
                                               " en el fichero " + *keyFile);
    }
}

// The new key: from --new-key-file, or typed; on a terminal it is typed twice.
std::string AskNewKey(const std::string& file, const cli::Args& args) {
    if (const auto keyFile = args.value("--new-key-file")) return ReadKeyFile(*keyFile);
    std::string key = ReadSecretLine(std::cerr, "Nueva clave de acceso para " + file + ": ");
    if (key.empty())
        throw HostError("La clave de acceso no puede estar vacía: no se ha cambiado nada");
    if (StdinIsTerminal() && ReadSecretLine(std::cerr, "Repita la nueva clave: ") != key)
        throw HostError("Las dos claves no coinciden: no se ha cambiado nada");
    return key;
}

// The company's current key, checked by the host with its delays (a company of an older layout
// too, which only these commands accept).
std::string AskCurrentKey(const std::string& file, const cli::Args& args) {
    return AskKey(file, args, [&](const std::string& key) { return VerifyAccessKey(file, key); });
}

int SetKey(const std::vector<std::string>& argv) {
    cli::Args args(argv, {"--new-key-file"}, {});
    args.atMost(1);
    const std::string file = ExistingCompanyFile(args.require(0, "FICHERO.QVT"));
    if (ReadCompanyHeader(file).hasKey)
        throw HostError("La empresa " + file +
                        " ya tiene clave de acceso: cámbiela con \"qvdata change-key\"");
    ChangeAccessKey(file, "", AskNewKey(file, args));
    std::cout << "Clave de acceso puesta: " << AbsolutePath(file) << "\n";
    return 0;
}

int ChangeKey(const std::vector<std::string>& argv) {
    cli::Args args(argv, {"--key-file", "--new-key-file"}, {});
    args.atMost(1);
    const std::string file = ExistingCompanyFile(args.require(0, "FICHERO.QVT"));
    if (!ReadCompanyHeader(file).hasKey)
        throw HostError("La empresa " + file +
                        " no tiene clave de acceso: póngale una con \"qvdata set-key\"");
    const std::string current = AskCurrentKey(file, args);
    ChangeAccessKey(file, current, AskNewKey(file, args));
    std::cout << "Clave de acceso cambiada: " << AbsolutePath(file) << "\n";
    return 0;
}

int RemoveKey(const std::vector<std::string>& argv) {
    cli::Args args(argv, {"--key-file"}, {});
    args.atMost(1);
    const std::string file = ExistingCompanyFile(args.require(0, "FICHERO.QVT"));
    if (!ReadCompanyHeader(file).hasKey)
        throw HostError("La empresa " + file + " no tiene clave de acceso");
    ChangeAccessKey(file, AskCurrentKey(file, args), "");
    std::cout << "Clave de acceso quitada: " << AbsolutePath(file) << "\n";
    return 0;
}

constexpr const char* kKeyHelp =
    "La clave se pide en el terminal sin mostrarla; de una tubería se lee una línea por\n"
    "intento. Cada clave incorrecta hace esperar más al siguiente intento, también en otros\n"
    "procesos.\n\n";

constexpr const char* kKeyFileHelp =
    "  --key-file F       lee la clave actual de la primera línea de F, que solo puede leer su\n"
    "                     dueño (chmod 600): quien lea el fichero tiene la clave\n";

constexpr const char* kNewKeyFileHelp =
    "  --new-key-file F   lee la nueva clave de la primera línea de F (chmod 600)\n";

const cli::Registrar kSetKey{{
    "set-key",
    "pone clave de acceso a una empresa que no la tiene",
    std::string(
        "Uso: qvdata set-key FICHERO.QVT [--new-key-file F]\n\n"
        "Pide la nueva clave dos veces en el terminal. La empresa solo se abre con ella.\n") +
        kKeyHelp + kNewKeyFileHelp,
    SetKey,
}};

const cli::Registrar kChangeKey{{
    "change-key",
    "cambia la clave de acceso de una empresa",
    std::string("Uso: qvdata change-key FICHERO.QVT [--key-file F] [--new-key-file F]\n\n"
                "Pide la clave actual y después la nueva (dos veces en el terminal).\n") +
        kKeyHelp + kKeyFileHelp + kNewKeyFileHelp,
    ChangeKey,
}};

const cli::Registrar kRemoveKey{{
    "remove-key",
    "quita la clave de acceso de una empresa",
    std::string("Uso: qvdata remove-key FICHERO.QVT [--key-file F]\n\n"
                "Pide la clave actual; después la empresa se abre sin clave.\n") +
        kKeyHelp + kKeyFileHelp,
    RemoveKey,
}};

}  // namespace

std::string UnlockCompany(const std::string& company, const cli::Args& args) {
    const std::string file = ExistingCompanyFile(company);
    if (!ReadCompanyHeader(file).hasKey) return "";
    return AskKey(file, args, [&](const std::string& key) {
        QvOLE70 server;
        try {
            server.OpenCompany(file, key);
            return true;
        } catch (const HostError& e) {
            if (e.code() != kErrAccessKey) throw;
            return false;
        }
    });
}

const char* KeyFileHelp() {
    return "  --key-file F       la clave de acceso de una empresa protegida, de la primera línea\n"
           "                     de F, que solo puede leer su dueño (chmod 600); sin ella se pide\n"
           "                     en el terminal o se lee una línea de la entrada estándar\n";
}

}  // namespace pendara::qvdata
