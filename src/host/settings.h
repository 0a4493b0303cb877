#pragma once
// The two settings stores: the per-user registry key of the host package (values "Active",
// "Directory", "Ultima") and the host library's option store (matching and report options).
// On Windows the registry is the real one; elsewhere both stores are human-readable files in the
// folder named by QUORVEX_HOME (default $XDG_CONFIG_HOME/quorvex or ~/.config/quorvex).

#include <memory>
#include <optional>
#include <string>
#include <variant>

namespace pendara {

class DesktopPort;

// Where every registry value of the program lives, below HKEY_CURRENT_USER.
inline constexpr const char* kRegistryRoot = "SOFTWARE\\Dorat\\Quorvex\\";

// One store of string values grouped under key paths; names compare without regard to case.
class SettingsBackend {
  public:
    virtual ~SettingsBackend() = default;
    // Opens the key, creating it when missing; false when it can be neither opened nor created.
    virtual bool OpenKey(const std::string& keyPath) = 0;
    virtual std::optional<std::string> Query(const std::string& keyPath,
                                             const std::string& name) = 0;
    // Stores the value; false when the key cannot be opened or created.
    virtual bool Store(const std::string& keyPath, const std::string& name,
                       const std::string& value) = 0;
};

// The folder that holds the file-backed stores (QUORVEX_HOME or the user's configuration folder).
std::string QuorvexHome();

// A store kept in a text file in the registry-export style:
//   [HKEY_CURRENT_USER\SOFTWARE\Dorat\Quorvex\Settings\]
//   "Active"="/data/EMP01.QVT"
// Every change re-reads the file under an exclusive lock and replaces it atomically, so two
// processes writing different values at once lose neither.
class FileSettingsBackend : public SettingsBackend {
  public:
    FileSettingsBackend(std::string filePath, std::string sectionPrefix);
    bool OpenKey(const std::string& keyPath) override;
    std::optional<std::string> Query(const std::string& keyPath, const std::string& name) override;
    bool Store(const std::string& keyPath, const std::string& name,
               const std::string& value) override;
    const std::string& path() const { return path_; }

  private:
    std::string path_;
    std::string prefix_;
};

// The registry of this platform: the real one on Windows, a file in QuorvexHome() elsewhere.
// Tests may install their own.
SettingsBackend& Registry();
void SetRegistryBackend(std::unique_ptr<SettingsBackend> backend);
// The host library's option store (file "options.reg" in QuorvexHome()).
SettingsBackend& HostOptions();
void SetHostOptionsBackend(std::unique_ptr<SettingsBackend> backend);
// Forgets the installed stores so that the next use follows QUORVEX_HOME again.
void ResetSettingsBackends();

// A registry value as the program reads it: "Verdadero" and "Falso" become booleans.
struct RegValue {
    std::variant<std::string, bool> value;

    bool isBool() const { return std::holds_alternative<bool>(value); }
    bool asBool() const { return isBool() && std::get<bool>(value); }
    // The value as text; a boolean gives its Spanish text again.
    std::string text() const {
        if (isBool()) return std::get<bool>(value) ? "Verdadero" : "Falso";
        return std::get<std::string>(value);
    }
};

// The registry value `name` of the section ("Settings" when empty); `def` when it is not set.
RegValue GetRegValue(const std::string& name, const std::string& section = "",
                     const std::string& def = "");
// Stores the value; a key that cannot be created shows the abort message and ends the program.
void SetRegValue(DesktopPort& port, const std::string& name, const std::string& value,
                 const std::string& section = "");
// Stores a boolean as its Spanish text ("Verdadero" / "Falso").
void SetRegBool(DesktopPort& port, const std::string& name, bool value,
                const std::string& section = "");

// The host option store, keys without regard to case.
std::string GetSetting(const std::string& key, const std::string& section, const std::string& def);
void SaveSetting(const std::string& key, const std::string& value, const std::string& section);

}  // namespace pendara
