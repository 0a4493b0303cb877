#pragma once
// A small command framework for the command-line front ends: each command registers itself with
// a name, a one-line summary, a usage text and a function; the program's main dispatches.

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace pendara::cli {

// A usage mistake: printed with the command's usage, exit code 2.
class UsageError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// Arguments after the command name: options "--name value" or "--name=value", flags "--name",
// and positional arguments. Unknown options are usage errors.
class Args {
  public:
    Args(const std::vector<std::string>& args, const std::set<std::string>& valueOptions,
         const std::set<std::string>& flags);

    bool flag(const std::string& name) const { return flags_.count(name) != 0; }
    std::optional<std::string> value(const std::string& name) const;
    std::string value(const std::string& name, const std::string& def) const;
    long long integer(const std::string& name,
                      long long def) const;  // UsageError when not a number
    const std::vector<std::string>& positional() const { return positional_; }
    // The positional argument i; UsageError naming `what` when it is missing.
    const std::string& require(std::size_t i, const std::string& what) const;
    // UsageError when there are more than n positional arguments.
    void atMost(std::size_t n) const;

  private:
    std::map<std::string, std::string> values_;
    std::set<std::string> flags_;
    std::vector<std::string> positional_;
};

struct Command {
    std::string name;
    std::string summary;
    std::string usage;  // full help text shown by "--help"
    std::function<int(const std::vector<std::string>&)> run;
};

class Registry {
  public:
    static Registry& Get();
    void Add(Command command);
    // Dispatches argv[1] to its command; handles --help, usage errors and unexpected failures.
    int Main(const std::string& program, const std::string& description, int argc, char** argv);

  private:
    std::map<std::string, Command> commands_;
};

struct Registrar {
    explicit Registrar(Command command) { Registry::Get().Add(std::move(command)); }
};

}  // namespace pendara::cli
