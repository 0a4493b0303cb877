#include "host/settings.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <set>
#include <sstream>
#include <utility>
#include <vector>

#include "host/conversions.h"
#include "host/desktop_port.h"
#include "host/errors.h"
#include "host/notices.h"
#include "host/paths.h"
#include "host/utf8.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace pendara {

namespace fs = std::filesystem;

namespace {

struct Section {
    std::string key;
    std::vector<std::pair<std::string, std::string>> values;
};

std::string Escape(const std::string& s) {
    std::string out;
    for (char c : s) {
        switch (c) {
            case '\\':
                out += "\\\\";
                break;
            case '"':
                out += "\\\"";
                break;
            case '\n':
                out += "\\n";
                break;
            case '\r':
                out += "\\r";
                break;
            default:
                out += c;
        }
    }
    return out;
}

// Reads a quoted text starting at s[i] == '"'; leaves i after the closing quote.
bool ReadQuoted(const std::string& s, std::size_t& i, std::string& out) {
    if (i >= s.size() || s[i] != '"') return false;
    ++i;
    out.clear();
    while (i < s.size()) {
        char c = s[i++];
        if (c == '"') return true;
        if (c == '\\' && i < s.size()) {
            char n = s[i++];
            out += n == 'n' ? '\n' : n == 'r' ? '\r' : n;
        } else {
            out += c;
        }
    }
    return false;
}

// Parses the whole file; a line this store never writes makes it damaged (`problem` says
// where), since writing it back would lose that line's value silently.
std::vector<Section> Parse(const std::string& text, const std::string& prefix,
                           std::string& problem) {
    std::vector<Section> sections;
    problem.clear();
    if (text.find('\0') != std::string::npos) {
        problem = "contiene bytes nulos";
        return {};
    }
    std::istringstream in(text);
    std::string line;
    int number = 0;
    while (std::getline(in, line)) {
        ++number;
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (line.empty() || line[0] == ';') continue;
        if (line.size() >= 2 && line.front() == '[' && line.back() == ']') {
            std::string key = line.substr(1, line.size() - 2);
            if (key.size() >= prefix.size() && EqualsNoCase(key.substr(0, prefix.size()), prefix))
                key = key.substr(prefix.size());
            sections.push_back({key, {}});
            continue;
        }
        std::size_t i = 0;
        std::string name, value;
        if (line[0] != '"' || sections.empty() || !ReadQuoted(line, i, name) || i >= line.size() ||
            line[i] != '=' || !ReadQuoted(line, ++i, value) || i != line.size()) {
            problem = "línea " + std::to_string(number) + " incomprensible";
            return {};
        }
        sections.back().values.emplace_back(name, value);
    }
    return sections;
}

std::string Render(const std::vector<Section>& sections, const std::string& prefix) {
    std::string out = "; Quorvex settings. One [key] per section, \"name\"=\"value\" per value.\n";
    for (const auto& s : sections) {
        out += "\n[" + prefix + s.key + "]\n";
        for (const auto& [n, v] : s.values)
            out += "\"" + Escape(n) + "\"=\"" + Escape(v) + "\"\n";
    }
    return out;
}

Section* FindSection(std::vector<Section>& sections, const std::string& key) {
    for (auto& s : sections)
        if (EqualsNoCase(s.key, key)) return &s;
    return nullptr;
}

// An advisory lock on "<file>.lock", held for one read or one read-modify-write.
class FileLock {
  public:
    FileLock(const std::string& path, bool exclusive) {
#ifdef _WIN32
        handle_ = CreateFileA((path + ".lock").c_str(), GENERIC_READ | GENERIC_WRITE,
                              FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                              OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
        if (handle_ != INVALID_HANDLE_VALUE) {
            OVERLAPPED ov{};
            ok_ = LockFileEx(handle_, exclusive ? LOCKFILE_EXCLUSIVE_LOCK : 0, 0, 1, 0, &ov);
        }
#else
        fd_ = ::open((path + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
        if (fd_ >= 0) {
            int rc;
            do {
                rc = ::flock(fd_, exclusive ? LOCK_EX : LOCK_SH);
            } while (rc != 0 && errno == EINTR);
            ok_ = rc == 0;
        }
#endif
    }
    ~FileLock() {
#ifdef _WIN32
        if (handle_ != INVALID_HANDLE_VALUE) {
            if (ok_) {
                OVERLAPPED ov{};
                UnlockFileEx(handle_, 0, 1, 0, &ov);
            }
            CloseHandle(handle_);
        }
#else
        if (fd_ >= 0) ::close(fd_);  // closing releases the flock
#endif
    }
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;
    bool ok() const {
        return ok_;
    }

  private:
#ifdef _WIN32
    HANDLE handle_ = INVALID_HANDLE_VALUE;
#else
    int fd_ = -1;
#endif
    bool ok_ = false;
};

// The file's text; false when it exists but cannot be read (`why` says why). A missing file
// reads as empty.
bool ReadWhole(const std::string& path, std::string& out, std::string& why) {
    out.clear();
    std::error_code ec;
    if (!fs::exists(path, ec)) return true;
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        why = std::strerror(errno);
        return false;
    }
    std::ostringstream ss;
    ss << in.rdbuf();
    if (in.bad()) {
        why = "error de lectura";
        return false;
    }
    out = ss.str();
    return true;
}

std::string TempPrefix(const std::string& path) {
    return FileNameOf(path) + ".tmp";
}

// Temporary files of writers that died before their rename. Called under the exclusive lock,
// when no writer of this store is half-way.
void RemoveStaleTemporaries(const std::string& path) {
    std::error_code ec;
    fs::path dir = fs::path(path).parent_path();
    const std::string prefix = TempPrefix(path);
    for (fs::directory_iterator it(dir.empty() ? fs::path(".") : dir, ec), end; !ec && it != end;
         it.increment(ec)) {
        const std::string name = it->path().filename().string();
        if (name.rfind(prefix, 0) == 0) fs::remove(it->path(), ec);
    }
}

// Replaces the file by a temporary one renamed over it, with the permissions the file had
// (new files are for their user only).
bool WriteAtomically(const std::string& path, const std::string& text) {
    std::string tmp = FolderOf(path) + TempPrefix(path);
#ifdef _WIN32
    {
        std::ofstream out(tmp, std::ios::binary | std::ios::trunc);
        if (!out) return false;
        out << text;
        out.flush();
        if (!out) return false;
    }
    return MoveFileExA(tmp.c_str(), path.c_str(), MOVEFILE_REPLACE_EXISTING) != 0;
#else
    tmp += "." + std::to_string(::getpid());
    mode_t mode = 0600;
    struct stat st {};
    if (::stat(path.c_str(), &st) == 0) mode = st.st_mode & 07777;
    int fd = ::open(tmp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, mode);
    if (fd < 0) return false;
    bool ok = ::fchmod(fd, mode) == 0;
    for (std::size_t done = 0; ok && done < text.size();) {
        ssize_t n = ::write(fd, text.data() + done, text.size() - done);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0)
            ok = false;
        else
            done += static_cast<std::size_t>(n);
    }
    ok = ok && ::fsync(fd) == 0;
    ok = ::close(fd) == 0 && ok;
    if (!ok || std::rename(tmp.c_str(), path.c_str()) != 0) {
        std::remove(tmp.c_str());
        return false;
    }
    return true;
#endif
}

// Where a damaged file is kept: beside it, named with the time it was put aside.
std::string AsideName(const std::string& path) {
    std::time_t now = std::time(nullptr);
    std::tm local{};
#ifdef _WIN32
    localtime_s(&local, &now);
#else
    localtime_r(&now, &local);
#endif
    char stamp[32];
    std::strftime(stamp, sizeof stamp, "%Y%m%d-%H%M%S", &local);
    std::string aside = path + ".apartado-" + stamp;
    std::error_code ec;
    for (int n = 2; fs::exists(aside, ec); ++n)
        aside = path + ".apartado-" + stamp + "-" + std::to_string(n);
    return aside;
}

// Each damaged file is reported once per process when it is read.
void ReportUnreadable(const std::string& path, const std::string& why) {
    static std::mutex m;
    static std::set<std::string> told;
    {
        std::lock_guard<std::mutex> lock(m);
        if (!told.insert(path).second) return;
    }
    Notice("El fichero de configuración " + path + " no se puede leer (" + why +
           "): se usan los valores por omisión y no se modifica");
}

bool EnsureFolder(const std::string& file) {
    std::error_code ec;
    fs::path dir = fs::path(file).parent_path();
    if (dir.empty()) return true;
    fs::create_directories(dir, ec);
    return fs::is_directory(dir, ec);
}

}  // namespace

std::string QuorvexHome() {
    if (const char* home = std::getenv("QUORVEX_HOME"); home && *home) return home;
#ifdef _WIN32
    if (const char* appdata = std::getenv("APPDATA"); appdata && *appdata)
        return (fs::path(appdata) / "Quorvex").string();
    return "Quorvex";
#else
    if (const char* xdg = std::getenv("XDG_CONFIG_HOME"); xdg && *xdg)
        return (fs::path(xdg) / "quorvex").string();
    if (const char* home = std::getenv("HOME"); home && *home)
        return (fs::path(home) / ".config" / "quorvex").string();
    return ".quorvex";
#endif
}

FileSettingsBackend::FileSettingsBackend(std::string filePath, std::string sectionPrefix)
    : path_(std::move(filePath)), prefix_(std::move(sectionPrefix)) {}

// Reading never writes: a key that is not in the file reads as one without values, and is
// written with the first value stored in it. The key "opens" when the store's folder is there or
// can be made.
bool FileSettingsBackend::OpenKey(const std::string&) {
    std::error_code ec;
    fs::path dir = fs::path(path_).parent_path();
    while (!dir.empty() && !fs::exists(dir, ec)) {
        if (dir == dir.parent_path()) break;
        dir = dir.parent_path();
    }
    if (dir.empty()) return true;
    if (!fs::is_directory(dir, ec)) return false;
#ifdef _WIN32
    return true;
#else
    return ::access(dir.c_str(), W_OK | X_OK) == 0;
#endif
}

std::optional<std::string> FileSettingsBackend::Query(const std::string& keyPath,
                                                      const std::string& name) {
    // Writers replace the file by a rename, so a reader sees one whole version without a lock
    // (and needs no lock file in a folder it may not write).
    std::string text, why;
    if (!ReadWhole(path_, text, why)) {
        ReportUnreadable(path_, why);
        return std::nullopt;
    }
    auto sections = Parse(text, prefix_, why);
    if (!why.empty()) {
        ReportUnreadable(path_, why);
        return std::nullopt;
    }
    Section* s = FindSection(sections, keyPath);
    if (!s) return std::nullopt;
    for (const auto& [n, v] : s->values)
        if (EqualsNoCase(n, name)) return v;
    return std::nullopt;
}

bool FileSettingsBackend::Store(const std::string& keyPath, const std::string& name,
                                const std::string& value) {
    if (!EnsureFolder(path_)) return false;
    FileLock lock(path_, true);
    if (!lock.ok()) return false;
    RemoveStaleTemporaries(path_);
    std::string text, why;
    std::vector<Section> sections;
    if (ReadWhole(path_, text, why)) sections = Parse(text, prefix_, why);
    if (!why.empty()) {
        // Kept aside, never overwritten: what it held may still be read by hand.
        const std::string aside = AsideName(path_);
        std::error_code ec;
        fs::rename(path_, aside, ec);
        if (ec) {
            Notice("El fichero de configuración " + path_ + " no se puede leer (" + why +
                   ") ni apartar (" + ec.message() + "): no se ha guardado " + name);
            return false;
        }
        Notice("El fichero de configuración " + path_ + " no se podía leer (" + why +
               "): se ha apartado como " + aside + " y se empieza uno nuevo");
        sections.clear();
    }
    Section* s = FindSection(sections, keyPath);
    if (!s) {
        sections.push_back({keyPath, {}});
        s = &sections.back();
    }
    bool replaced = false;
    for (auto& [n, v] : s->values) {
        if (EqualsNoCase(n, name)) {
            v = value;
            replaced = true;
            break;
        }
    }
    if (!replaced) s->values.emplace_back(name, value);
    return WriteAtomically(path_, Render(sections, prefix_));
}

#ifdef _WIN32
namespace {
class WindowsRegistryBackend : public SettingsBackend {
  public:
    bool OpenKey(const std::string& keyPath) override {
        HKEY key;
        if (!Create(keyPath, key)) return false;
        RegCloseKey(key);
        return true;
    }
    std::optional<std::string> Query(const std::string& keyPath, const std::string& name) override {
        HKEY key;
        if (!Create(keyPath, key)) return std::nullopt;
        char buffer[255];
        DWORD type = 0, size = sizeof buffer;
        LONG rc = RegQueryValueExA(key, name.c_str(), nullptr, &type,
                                   reinterpret_cast<BYTE*>(buffer), &size);
        RegCloseKey(key);
        if (rc != ERROR_SUCCESS || size == 0) return std::nullopt;
        return std::string(buffer, size - 1);
    }
    bool Store(const std::string& keyPath, const std::string& name,
               const std::string& value) override {
        HKEY key;
        if (!Create(keyPath, key)) return false;
        RegSetValueExA(key, name.c_str(), 0, REG_SZ, reinterpret_cast<const BYTE*>(value.c_str()),
                       static_cast<DWORD>(value.size() + 1));
        RegCloseKey(key);
        return true;
    }

  private:
    static bool Create(const std::string& keyPath, HKEY& key) {
        SECURITY_ATTRIBUTES sa{};
        DWORD disposition = 0;
        return RegCreateKeyExA(HKEY_CURRENT_USER, keyPath.c_str(), 0, const_cast<char*>(""), 0, 63,
                               &sa, &key, &disposition) == ERROR_SUCCESS;
    }
};
}  // namespace
#endif

namespace {
std::mutex& BackendMutex() {
    static std::mutex m;
    return m;
}
std::unique_ptr<SettingsBackend>& RegistrySlot() {
    static std::unique_ptr<SettingsBackend> slot;
    return slot;
}
std::unique_ptr<SettingsBackend>& OptionsSlot() {
    static std::unique_ptr<SettingsBackend> slot;
    return slot;
}
}  // namespace

SettingsBackend& Registry() {
    std::lock_guard<std::mutex> guard(BackendMutex());
    auto& slot = RegistrySlot();
    if (!slot) {
#ifdef _WIN32
        slot = std::make_unique<WindowsRegistryBackend>();
#else
        slot = std::make_unique<FileSettingsBackend>(
            (fs::path(QuorvexHome()) / "registry.reg").string(), "HKEY_CURRENT_USER\\");
#endif
    }
    return *slot;
}

void SetRegistryBackend(std::unique_ptr<SettingsBackend> backend) {
    std::lock_guard<std::mutex> guard(BackendMutex());
    RegistrySlot() = std::move(backend);
}

SettingsBackend& HostOptions() {
    std::lock_guard<std::mutex> guard(BackendMutex());
    auto& slot = OptionsSlot();
    if (!slot)
        slot = std::make_unique<FileSettingsBackend>(
            (fs::path(QuorvexHome()) / "options.reg").string(), "");
    return *slot;
}

void SetHostOptionsBackend(std::unique_ptr<SettingsBackend> backend) {
    std::lock_guard<std::mutex> guard(BackendMutex());
    OptionsSlot() = std::move(backend);
}

void ResetSettingsBackends() {
    std::lock_guard<std::mutex> guard(BackendMutex());
    RegistrySlot().reset();
    OptionsSlot().reset();
}

namespace {
std::string RegistryKey(const std::string& section) {
    return std::string(kRegistryRoot) + (section.empty() ? "Settings" : section) + "\\";
}

}  // namespace

RegValue GetRegValue(const std::string& name, const std::string& section, const std::string& def) {
    SettingsBackend& reg = Registry();
    std::string key = RegistryKey(section);
    reg.OpenKey(key);
    std::optional<std::string> stored = reg.Query(key, name);
    std::string value;
    // The registry reads into 255 characters: a longer value does not read.
    if (!stored || Utf8Length(*stored) > 254 || *stored == " ")
        value = def;
    else
        value = *stored;
    if (value == "Verdadero") return {true};
    if (value == "Falso") return {false};
    return {value};
}

void SetRegValue(DesktopPort& port, const std::string& name, const std::string& value,
                 const std::string& section) {
    SettingsBackend& reg = Registry();
    std::string key = RegistryKey(section);
    if (!reg.OpenKey(key)) {
        port.MsgBox("Unable to Create/Open SubKey.\r\nQuorvex will now abort.", kVbOKOnly, "");
        throw ProgramEnd{1};
    }
    reg.Store(key, name, value.empty() ? " " : value);
}

void SetRegBool(DesktopPort& port, const std::string& name, bool value,
                const std::string& section) {
    SetRegValue(port, name, std::string(value ? "Verdadero" : "Falso"), section);
}

std::string GetSetting(const std::string& key, const std::string& section, const std::string& def) {
    std::optional<std::string> v = HostOptions().Query(section, key);
    return v ? *v : def;
}

void SaveSetting(const std::string& key, const std::string& value, const std::string& section) {
    if (!HostOptions().Store(section, key, value))
        throw HostError("No se puede guardar la opción " + key + " en " + QuorvexHome());
}

}  // namespace pendara
