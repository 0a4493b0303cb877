#include "cli/cli.h"

#include <cerrno>
#include <cstdlib>
#include <iostream>

#include "host/errors.h"

namespace pendara::cli {

Args::Args(const std::vector<std::string>& args, const std::set<std::string>& valueOptions,
           const std::set<std::string>& flags) {
    for (std::size_t i = 0; i < args.size(); ++i) {
        const std::string& a = args[i];
        if (a.size() > 2 && a.rfind("--", 0) == 0) {
            std::string name = a, val;
            bool hasValue = false;
            if (std::size_t eq = a.find('='); eq != std::string::npos) {
                name = a.substr(0, eq);
                val = a.substr(eq + 1);
                hasValue = true;
            }
            if (valueOptions.count(name)) {
                if (!hasValue) {
                    if (i + 1 >= args.size()) throw UsageError("falta el valor de " + name);
                    val = args[++i];
                }
                values_[name] = val;
            } else if (flags.count(name) && !hasValue) {
                flags_.insert(name);
            } else {
                throw UsageError("opción desconocida: " + a);
            }
        } else {
            positional_.push_back(a);
        }
    }
}

std::optional<std::string> Args::value(const std::string& name) const {
    auto it = values_.find(name);
    if (it == values_.end()) return std::nullopt;
    return it->second;
}

std::string Args::value(const std::string& name, const std::string& def) const {
    auto v = value(name);
    return v ? *v : def;
}

long long Args::integer(const std::string& name, long long def) const {
    auto v = value(name);
    if (!v) return def;
    errno = 0;
    char* end = nullptr;
    long long n = std::strtoll(v->c_str(), &end, 10);
    if (v->empty() || *end != '\0' || errno == ERANGE)
        throw UsageError(name + " espera un número entero, no \"" + *v + "\"");
    return n;
}

const std::string& Args::require(std::size_t i, const std::string& what) const {
    if (i >= positional_.size()) throw UsageError("falta " + what);
    return positional_[i];
}

void Args::atMost(std::size_t n) const {
    if (positional_.size() > n) throw UsageError("argumento de más: " + positional_[n]);
}

Registry& Registry::Get() {
    static Registry registry;
    return registry;
}

void Registry::Add(Command command) {
    std::string name = command.name;
    commands_[name] = std::move(command);
}

int Registry::Main(const std::string& program, const std::string& description, int argc,
                   char** argv) {
    auto overview = [&](std::ostream& out) {
        out << description << "\n\nUso: " << program << " ORDEN [opciones]\n\nÓrdenes:\n";
        for (const auto& [name, c] : commands_) {
            out << "  " << name << std::string(name.size() < 16 ? 16 - name.size() : 1, ' ')
                << c.summary << "\n";
        }
        out << "\n\"" << program << " ORDEN --help\" explica cada orden.\n";
    };
    if (argc < 2) {
        overview(std::cerr);
        return 2;
    }
    std::string name = argv[1];
    if (name == "--help" || name == "-h" || name == "help") {
        overview(std::cout);
        return 0;
    }
    if (name == "--version") {
        std::cout << program << " " << PENDARA_VERSION << "\n";
        return 0;
    }
    auto it = commands_.find(name);
    if (it == commands_.end()) {
        std::cerr << program << ": orden desconocida \"" << name << "\"\n";
        overview(std::cerr);
        return 2;
    }
    std::vector<std::string> args(argv + 2, argv + argc);
    for (const auto& a : args) {
        if (a == "--help" || a == "-h") {
            std::cout << it->second.usage << "\n";
            return 0;
        }
    }
    try {
        return it->second.run(args);
    } catch (const UsageError& e) {
        std::cerr << program << " " << name << ": " << e.what() << "\n\n"
                  << it->second.usage << "\n";
        return 2;
    } catch (const HostError& e) {
        std::cerr << program << " " << name << ": " << e.description() << "\n";
        return 1;
    } catch (const ProgramEnd& e) {
        // The program's own end (a refused access key) leaves the command undone: a script
        // running it must not take that for success.
        if (e.exitCode == 0) {
            std::cerr << program << " " << name << ": el programa terminó sin acabar la orden\n";
            return 1;
        }
        return e.exitCode;
    } catch (const std::exception& e) {
        std::cerr << program << " " << name << ": " << e.what() << "\n";
        return 1;
    }
}

}  // namespace pendara::cli
